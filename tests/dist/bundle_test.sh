#!/usr/bin/env bash
# The release zip, unpacked into an empty folder, holds the bundle, and each Linux
# intro runs from there under Xvfb as the smoke test runs it (the arm64 one under
# qemu-aarch64): the 3D scene and the scroller on the screen, Escape ends it with
# status 0. The system's SDL 2 is hidden from them (in a mount namespace of their own
# its library files read as empty), as on a desktop that has none.
#   tests/dist/bundle_test.sh dist/invitro.zip
set -euo pipefail
zip=$(realpath "${1:?usage: bundle_test.sh ZIP}")
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cd "$work"
unzip -q "$zip"
for f in invitro invitro-arm64 invitro.exe screenshot.png invitro.nfo file_id.diz; do
  [ -s "invitro/$f" ] || fail "the bundle has no $f"
done
[ -x invitro/invitro ] && [ -x invitro/invitro-arm64 ] || fail "a Linux intro lost its execute permission"
file invitro/invitro.exe | grep -q 'PE32+ executable (GUI) x86-64' || fail "invitro.exe is not a Windows GUI program"
file invitro/invitro-arm64 | grep -q 'ARM aarch64' || fail "invitro-arm64 is not an arm64 program"
[ "$(identify -format '%m %w x %h' invitro/screenshot.png)" = "PNG 640 x 480" ] \
  || fail "screenshot.png is not a 640 x 480 PNG"
if [ -d invitro/web ]; then
  [ -s invitro/web/index.html ] || fail "the web folder has no index.html"
fi
if [ -e invitro/invitro.mp4 ]; then
  probe=$(ffprobe -v error -show_entries stream=codec_name,width,height,r_frame_rate -of csv=p=0 invitro/invitro.mp4)
  echo "$probe" | grep -q '^h264,640,480,40/1$' || fail "invitro.mp4 is not H.264 640 x 480 at 40 fps: $probe"
fi
"$root/tests/dist/text_limits.sh" invitro

# Each Linux intro needs the C library and the desktop's own libraries, nothing of SDL or
# of the C++ runtime, and the nfo names the oldest glibc each runs on.
for exe in invitro invitro-arm64; do
  needs=$(objdump -p "invitro/$exe" | awk '/NEEDED/ {print $2}' | tr '\n' ' ')
  ! grep -qE 'SDL|stdc\+\+|libgcc_s' <<<"$needs" || fail "$exe needs $needs"
  glibc=$(objdump -T "invitro/$exe" | grep -o 'GLIBC_[0-9][0-9.]*' | sed 's/GLIBC_//' | sort -uV | tail -n 1)
  grep -qE "glibc $glibc or later +for $exe\$" invitro/invitro.nfo \
    || fail "the nfo does not say that $exe needs glibc $glibc"
  echo "bundle: $exe, $(stat -c %s "invitro/$exe") bytes, needs glibc $glibc and $needs"
done

# Run from their own folder, with the working directory there too, where no SDL 2 can be
# loaded but what is inside the executables.
cd invitro
hidden=$(ls /usr/lib/*-linux-gnu/libSDL2*.so* /lib/*-linux-gnu/libSDL2*.so* 2>/dev/null | tr '\n' ' ')
without_sdl() {
  unshare --mount --propagation private bash -c '
    for f in $0; do [ -L "$f" ] || mount --bind /dev/null "$f" || exit 1; done
    exec "$@"' "$hidden" "$@"
}
without_sdl true || fail "cannot hide the system's SDL 2 (unshare --mount needs root)"
without_sdl env SMOKE_SHOW_ONLY=1 "$root/scripts/smoke-test.sh" linux ./invitro
printf '#!/bin/sh\nexec qemu-aarch64 ./invitro-arm64 "$@"\n' > ../arm64
chmod +x ../arm64
without_sdl env SMOKE_SHOW_ONLY=1 "$root/scripts/smoke-test.sh" linux ../arm64
echo "bundle: $(basename "$zip") unpacks, and both Linux intros run from it without a system SDL 2"
