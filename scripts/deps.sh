#!/usr/bin/env bash
# Installs the Debian packages a task needs, when they are missing.
# Usage: scripts/deps.sh GROUP...
#   (groups: build, windows, web, webtest, smoke, tools, assets, sanitize, dist, bench)
set -euo pipefail

packages_of() {
  case "$1" in
    build)    echo "cmake make g++ pkg-config libsdl2-dev libx11-dev libgtest-dev googletest libbenchmark-dev libpng-dev" ;;
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
"${apt[@]}" update -qq || { echo "deps.sh: apt-get update failed" >&2; exit 1; }
"${apt[@]}" install -y -qq --no-install-recommends "${missing[@]}" \
  || { echo "deps.sh: could not install ${missing[*]}" >&2; exit 1; }
