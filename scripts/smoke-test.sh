#!/usr/bin/env bash
# End-to-end check of the real window under a virtual X screen:
#   scripts/smoke-test.sh linux   EXE   # the SDL build
#   scripts/smoke-test.sh windows EXE   # invitro.exe under Wine
# Starts the intro on a 640 x 480 x 16 Xvfb screen, takes a screenshot after 3 s and
# requires it not to be uniform, then holds Escape and requires exit status 0 within 2 s.
# Optional: SMOKE_SHOT=path keeps the screenshot; SMOKE_MIN_COLOURS=n asks for at least
# n distinct colours (the default 2 only proves the screen is not uniform: the sky
# alone has 2, the 3D scenes thousands); SMOKE_OVERLAY=1 asks for the scroller's text
# (the glyphs' dark purple outline) in the bottom band of the screen.
set -uo pipefail
kind=${1:?usage: smoke-test.sh linux|windows EXE}
exe=${2:?usage: smoke-test.sh linux|windows EXE}
shot=${SMOKE_SHOT:-$(mktemp -d)/shot.png}
min_colours=${SMOKE_MIN_COLOURS:-2}
[ -x "$exe" ] || [ -f "$exe" ] || { echo "smoke: no such program: $exe" >&2; exit 2; }

display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 640x480x16 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null; [ -n "${app:-}" ] && kill -9 $app 2>/dev/null' EXIT
export DISPLAY=$display
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done
xdpyinfo >/dev/null 2>&1 || { echo "smoke: Xvfb did not start" >&2; exit 1; }

if [ "$kind" = windows ]; then
  export WINEPREFIX=${WINEPREFIX:-$HOME/.wine-invitro} WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  wineboot -i >/dev/null 2>&1
  wineserver -w
  # Wine reports its missing sound card on stderr; the intro then runs silent.
  wine "$exe" 2>"${shot%.png}.wine.log" &
  app=$!
else
  SDL_AUDIODRIVER=${SDL_AUDIODRIVER:-dummy} "$exe" &
  app=$!
fi

sleep 3
if ! kill -0 $app 2>/dev/null; then
  wait $app; echo "smoke: $kind: the intro ended by itself (status $?)" >&2; exit 1
fi
import -window root "$shot" 2>/dev/null || { echo "smoke: screenshot failed" >&2; exit 1; }
colours=$(identify -format %k "$shot")
echo "smoke: $kind: screenshot $shot has $colours colours"
if [ "$colours" -lt "$min_colours" ]; then
  echo "smoke: $kind: the screen is uniform or too plain ($colours colours, need $min_colours)" >&2
  exit 1
fi

if [ "${SMOKE_OVERLAY:-0}" = 1 ]; then
  outline=$(convert "$shot" -crop 640x80+0+400 +repage -depth 8 rgb:- | python3 -c '
import sys
d = sys.stdin.buffer.read()
print(sum(1 for i in range(0, len(d), 3)
          if abs(d[i] - 25) < 12 and abs(d[i + 1] - 8) < 10 and abs(d[i + 2] - 57) < 14))')
  echo "smoke: $kind: $outline pixels of glyph outline in the scroller's band"
  if [ "$outline" -lt 100 ]; then
    echo "smoke: $kind: no scroller text at the bottom of the screen" >&2
    exit 1
  fi
fi

xdotool keydown Escape; sleep 0.2; xdotool keyup Escape
for _ in $(seq 20); do kill -0 $app 2>/dev/null || break; sleep 0.1; done
if kill -0 $app 2>/dev/null; then
  echo "smoke: $kind: still running 2 s after Escape" >&2; exit 1
fi
wait $app; status=$?
[ "$kind" = windows ] && wineserver -k 2>/dev/null
if [ $status -ne 0 ]; then echo "smoke: $kind: exit status $status" >&2; exit 1; fi
echo "smoke: $kind: Escape ended the run with status 0"
