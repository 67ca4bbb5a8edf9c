#!/usr/bin/env bash
# Installs the Debian packages a task needs, when they are missing.
# Usage: scripts/deps.sh GROUP...
#   (groups: build, test, arm64, windows, web, webtest, smoke, tools, assets, sanitize,
#    dist, bench)
set -euo pipefail

packages_of() {
  case "$1" in
    build)    echo "cmake make g++ pkg-config libsdl2-dev libx11-dev libgtest-dev googletest libbenchmark-dev libpng-dev" ;;
    # What make test's tests run besides the build: the tools' tests use ffmpeg, sox and
    # ImageMagick, the build's flag check python3.
    test)     echo "ffmpeg sox imagemagick python3" ;;
    # The arm64 cross build: Debian's cross compiler, the arm64 libraries (multiarch) and
    # qemu to run its tests and tools.
    arm64)    echo "g++-aarch64-linux-gnu qemu-user libsdl2-dev:arm64 libx11-dev:arm64 libgtest-dev:arm64 libpng-dev:arm64" ;;
    windows)  echo "g++-mingw-w64-x86-64" ;;
    web)      echo "cmake make emscripten python3" ;;
    # npm often comes with a nodejs from elsewhere; Debian's package only when it does not.
    # Headless Firefox plays sound only through a sound server: PulseAudio, with a null sink.
    webtest)  echo "chromium firefox-esr pulseaudio pulseaudio-utils unzip"; command -v npm >/dev/null || echo "npm" ;;
    smoke)    echo "xvfb xdotool imagemagick x11-utils python3 wine wine64" ;;
    tools)    echo "sox ffmpeg" ;;
    assets)   echo "libfreetype-dev fonts-dejavu-extra python3" ;;
    sanitize) echo "clang-14 libclang-rt-14-dev" ;;
    dist)     echo "zip unzip" ;;
    bench)    echo "python3" ;;
    *) echo "deps.sh: unknown group '$1'" >&2; exit 2 ;;
  esac
}

missing=()
for group in "$@"; do
  for p in $(packages_of "$group"); do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$p")
    fi
  done
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing missing Debian packages: ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  apt=(apt-get)
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
  apt=(sudo apt-get)
elif command -v sudo >/dev/null 2>&1; then
  apt=(sudo apt-get)
else
  echo "deps.sh: these packages are missing and there is neither root nor sudo to install them:" >&2
  echo "  apt-get install ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
# Packages of another architecture (NAME:ARCH) need that architecture added first.
for p in "${missing[@]}"; do
  arch=${p#*:}
  [ "$arch" = "$p" ] && continue
  dpkg --print-foreign-architectures | grep -qx "$arch" && continue
  "${apt[@]/apt-get/dpkg}" --add-architecture "$arch" \
    || { echo "deps.sh: cannot add the $arch architecture to dpkg" >&2; exit 1; }
done
"${apt[@]}" update -qq || { echo "deps.sh: apt-get update failed" >&2; exit 1; }
"${apt[@]}" install -y -qq --no-install-recommends "${missing[@]}" \
  || { echo "deps.sh: could not install ${missing[*]}" >&2; exit 1; }
