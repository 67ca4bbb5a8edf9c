#!/usr/bin/env bash
# The release zip, unpacked into an empty folder, holds the bundle, and the Linux
# intro runs from there under Xvfb as the smoke test runs it: the 3D scene and the
# scroller on the screen, Escape ends it with status 0.
#   tests/dist/bundle_test.sh dist/invitro.zip
set -euo pipefail
zip=$(realpath "${1:?usage: bundle_test.sh ZIP}")
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

cd "$work"
unzip -q "$zip"
for f in invitro invitro.exe screenshot.png invitro.nfo file_id.diz; do
  [ -s "invitro/$f" ] || fail "the bundle has no $f"
done
[ -x invitro/invitro ] || fail "the Linux intro lost its execute permission"
file invitro/invitro.exe | grep -q 'PE32+ executable (GUI) x86-64' || fail "invitro.exe is not a Windows GUI program"
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

# Run from its own folder, with the working directory there too.
cd invitro
SMOKE_SHOW_ONLY=1 "$root/scripts/smoke-test.sh" linux ./invitro
echo "bundle: $(basename "$zip") unpacks, and its Linux intro runs"
