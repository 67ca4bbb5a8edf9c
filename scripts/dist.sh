#!/usr/bin/env bash
# The release bundle: dist/invitro/ and dist/invitro.zip.
#   scripts/dist.sh [--with-video]        (make dist, make dist ARGS=--with-video)
# Builds what is missing (the Linux release build, the Linux arm64 and the Windows
# executables and, once the `web` preset exists, the web build), then gathers the
# executables, a screenshot taken by capture, invitro.nfo and file_id.diz (from
# docs/release/, the oldest glibc each Linux executable needs filled in) and, with
# --with-video, the capture of one whole cycle as invitro.mp4 (H.264 + AAC, 640 x 480,
# 40 fps).
set -euo pipefail
cd "$(dirname "$0")/.."

video=0
for arg in "$@"; do
  case "$arg" in
    --with-video) video=1 ;;
    *) echo "dist: unknown argument '$arg' (only --with-video)" >&2; exit 2 ;;
  esac
done

web=0
grep -q '"name": *"web"' CMakePresets.json && web=1

groups=(build arm64 windows dist)
[ $video -eq 1 ] && groups+=(tools)
scripts/deps.sh "${groups[@]}"

echo "dist: building the Linux intro and capture"
cmake --preset release >/dev/null
cmake --build --preset release --target invitro capture
echo "dist: building the Linux arm64 intro"
cmake --preset arm64 >/dev/null
cmake --build --preset arm64 --target invitro
echo "dist: building the Windows intro"
cmake --preset windows >/dev/null
cmake --build --preset windows --target invitro
if [ $web -eq 1 ]; then
  echo "dist: building the web intro"
  make web
fi

out=dist/invitro
rm -rf dist
mkdir -p "$out"
cp build/release/app/invitro "$out/invitro"
cp build/arm64/app/invitro "$out/invitro-arm64"
cp build/windows/app/invitro.exe "$out/invitro.exe"
# The build's date is the date of the commit it was built from: the archive's file
# dates and the Windows executable's header (which strip rewrites) carry it, so the
# same commit gives the same zip.
epoch=$(git log -1 --format=%ct 2>/dev/null || date +%s)
strip "$out/invitro"
aarch64-linux-gnu-strip "$out/invitro-arm64"
# The newest glibc symbol version an executable asks for is the oldest glibc it runs on.
glibc_of() {
  objdump -T "$1" | grep -o 'GLIBC_[0-9][0-9.]*' | sed 's/GLIBC_//' | sort -uV | tail -n 1
}
glibc_x86_64=$(glibc_of "$out/invitro")
glibc_arm64=$(glibc_of "$out/invitro-arm64")
SOURCE_DATE_EPOCH=$epoch x86_64-w64-mingw32-strip "$out/invitro.exe"
if [ $web -eq 1 ]; then
  # The site as it is served: it also runs opened straight from the folder.
  cp -r build/web/site "$out/web"
  [ -f "$out/web/index.html" ] || { echo "dist: the web build left no index.html" >&2; exit 1; }
fi

# Lines between "@web" and "@end" describe the web build: kept (without the markers)
# when the bundle has one, dropped when it has not.
for text in invitro.nfo file_id.diz; do
  if [ $web -eq 1 ]; then
    sed '/^@web$/d; /^@end$/d' "docs/release/$text" >"$out/$text"
  else
    sed '/^@web$/,/^@end$/d' "docs/release/$text" >"$out/$text"
  fi
  sed -i "s/@glibc-x86@/$glibc_x86_64/; s/@glibc-arm@/$glibc_arm64/" "$out/$text"
done

capture=build/release/tools/capture/capture
shots=build/dist
rm -rf "$shots"
echo "dist: screenshot (8 s into the show)"
"$capture" --out "$shots" --at 8000 --png 2>/dev/null
cp "$shots/shot_008000.png" "$out/screenshot.png"
if [ $video -eq 1 ]; then
  echo "dist: video of one cycle (115 s)"
  "$capture" --out "$shots" --mp4 "$out/invitro.mp4"
fi

find "$out" -exec touch -h -d "@$epoch" {} +
(cd dist && find invitro | LC_ALL=C sort | zip -q -X invitro.zip -@)
echo "dist: $(cd dist && du -sh invitro | cut -f1) in dist/invitro, $(du -h dist/invitro.zip | cut -f1) in dist/invitro.zip"
ls -l "$out"
