#!/usr/bin/env bash
# End-to-end checks of the real window on virtual X screens (Xvfb):
#   scripts/smoke-test.sh linux   EXE   # the SDL build
#   scripts/smoke-test.sh windows EXE   # invitro.exe under Wine, in a fresh Wine prefix
# A show check starts the intro, takes a screenshot every half second until the picture
# (at least 64 colours) and the scroller's text (its glyphs' dark purple outline in the
# bottom band) are there, at most 30 s, then requires the whole picture in the window
# (drawn from column 0 and row 0; column 639 and row 479 left black by the 639 x 479
# present) with no wrongly packed colours, then holds Escape for a second and requires
# exit status 0 within 2 s of its release.
# Linux also checks its failure paths: no display, the offscreen driver asked for by name,
# a 15-bit, an 8-bit and a 1920 x 1080 screen with no window manager, and no sound device;
# and that SIGTERM and SIGINT end it at once however much the pointer moved before.
# SMOKE_SHOW_ONLY=1 runs only the show check on a 16-bit screen (the release bundle's test).
# Screenshots and logs stay in SMOKE_DIR (default: a new temporary directory). WINEPREFIX,
# when set, is used instead of a fresh prefix.
set -uo pipefail
kind=${1:?usage: smoke-test.sh linux|windows EXE}
exe=${2:?usage: smoke-test.sh linux|windows EXE}
[ -x "$exe" ] || [ -f "$exe" ] || { echo "smoke: no such program: $exe" >&2; exit 2; }
work=${SMOKE_DIR:-$(mktemp -d)}
mkdir -p "$work"
xvfb= app= fresh_prefix= screen=
cleanup() {
  [ -n "$app" ] && kill -9 "$app" 2>/dev/null
  [ -n "$xvfb" ] && kill "$xvfb" 2>/dev/null
  [ "$kind" = windows ] && [ -n "${WINEPREFIX:-}" ] && wineserver -k 2>/dev/null
  [ -n "$fresh_prefix" ] && rm -rf "$fresh_prefix"
}
trap cleanup EXIT
fail() { echo "smoke: $kind: $*" >&2; exit 1; }
say() { echo "smoke: $kind: $*"; }
now_ms() { echo $(( $(date +%s%N) / 1000000 )); }

# Starts a virtual screen WIDTHxHEIGHTxDEPTH and points DISPLAY at it. Its number is drawn
# at random above the ones other scripts use; Xvfb names it on a fifo once it takes
# clients, or ends at once when the number is taken, and then another is drawn.
screen_start() {
  screen_stop
  local fifo="$work/displayfd" number
  for _ in $(seq 10); do
    number=$((200 + RANDOM % 800))
    [ -e "/tmp/.X$number-lock" ] && continue
    rm -f "$fifo" && mkfifo "$fifo"
    Xvfb ":$number" -displayfd 3 -screen 0 "$1" -nolisten tcp 3>"$fifo" \
      >"$work/xvfb-$1.log" 2>&1 &
    xvfb=$!
    if read -r -t 10 number <"$fifo"; then
      export DISPLAY=:$number
      screen=$1
      xdpyinfo >/dev/null 2>&1 && return
    fi
    screen_stop
  done
  fail "Xvfb did not start a $1 screen"
}
screen_stop() {
  [ -n "$xvfb" ] && { kill "$xvfb" 2>/dev/null; wait "$xvfb" 2>/dev/null; }
  xvfb=
}

# Starts the intro in the background on the current screen; its stderr goes to NAME.err.
app_start() {
  local name=$1
  shift
  if [ "$kind" = windows ]; then
    wine "$exe" 2>"$work/$name.err" &
  else
    env "$@" "$exe" 2>"$work/$name.err" &
  fi
  app=$!
}

# Figures of the window, the screen's 640 x 480 top-left, in the raw screenshot RAW:
#   quick: colours, and glyph-outline pixels in the scroller's band (rows 400 to 479);
#   full:  those, the first and last drawn column and row, and the pixels whose red and
#          blue both exceed green by more than 48. The show never has more than about 70
#          of those at any moment of its cycle; a picture whose lit surfaces were packed
#          as 5.5.5 and read as 5.6.5 has thousands, magenta and cyan bands over the hills.
picture_figures() {
  python3 - "$1" "${screen%%x*}" "$2" <<'EOF'
import sys
raw, width, what = sys.argv[1], int(sys.argv[2]), sys.argv[3]
d = open(raw, "rb").read()
d = b"".join(d[y * width * 3:y * width * 3 + 1920] for y in range(480))
if len(d) != 640 * 480 * 3:
    print("0 0 -1 -1 -1 -1 0"); sys.exit()
pixels = list(zip(d[0::3], d[1::3], d[2::3]))
outline = sum(1 for r, g, b in pixels[400 * 640:]
              if abs(r - 25) < 12 and abs(g - 8) < 10 and abs(b - 57) < 14)
figures = [len(set(pixels)), outline]
if what == "full":
    rows = [y for y in range(480) if d[y * 1920:(y + 1) * 1920].strip(b"\0")] or [-1]
    cols = [x for x in range(640) if any(any(d[x * 3 + k::1920]) for k in range(3))] or [-1]
    magenta = sum(1 for r, g, b in pixels if r > g + 48 and b > g + 48)
    figures += [cols[0], cols[-1], rows[0], rows[-1], magenta]
print(*figures)
EOF
}

# Waits for the picture and the scroller (at most 30 s), then checks what the window shows.
show_check() {
  local raw="$work/$1.rgb" shot="$work/$1.png" started=$SECONDS
  local colours=0 outline=0 left right top bottom magenta
  sleep 1
  while :; do
    kill -0 "$app" 2>/dev/null || { wait "$app"; fail "$screen: the intro ended by itself (status $?)"; }
    import -window root -depth 8 "rgb:$raw" 2>/dev/null || fail "$screen: screenshot failed"
    read -r colours outline < <(picture_figures "$raw" quick)
    [ "$colours" -ge 64 ] && [ "$outline" -ge 100 ] && break
    [ $((SECONDS - started)) -ge 30 ] && break
    sleep 0.5
  done
  local waited=$((SECONDS - started))
  read -r colours outline left right top bottom magenta < <(picture_figures "$raw" full)
  convert -size "${screen%x*}" -depth 8 "rgb:$raw" "$shot" && rm -f "$raw"
  say "$screen: $shot after $waited s: $colours colours, $outline" \
    "pixels of glyph outline, drawn columns $left..$right rows $top..$bottom, $magenta magenta"
  [ "$colours" -ge 64 ] || fail "$screen: no 3D scene within 30 s (only $colours colours)"
  [ "$outline" -ge 100 ] || fail "$screen: no scroller text at the bottom within 30 s"
  [ "$left" -eq 0 ] && [ "$top" -eq 0 ] && [ "$right" -le 638 ] && [ "$bottom" -le 478 ] \
    || fail "$screen: the window does not show the whole 639 x 479 picture at its top-left"
  [ "$magenta" -lt 600 ] || fail "$screen: lit surfaces are banded in wrong colours"
}

# Holds Escape for a second and lets go; the intro must end with status 0 within 2 s of
# that. The key is read once a frame; under Wine on a busy machine a 0.2-s press was at
# times never seen, and a held one often only once let go.
escape_check() {
  xdotool keydown Escape
  sleep 1
  xdotool keyup Escape
  for _ in $(seq 20); do kill -0 "$app" 2>/dev/null || break; sleep 0.1; done
  kill -0 "$app" 2>/dev/null && fail "$screen: still running 2 s after Escape"
  wait "$app"
  local status=$?
  app=
  [ $status -eq 0 ] || fail "$screen: exit status $status after Escape"
  say "$screen: Escape ended the run with status 0"
}

# Moves the pointer over the window thousands of times, which queues as many events,
# then sends SIGNAL: the intro must end within 2 s with status 0 all the same (the
# queued motion must not hold the close request up).
close_check() {
  local signal=$1 moves=() started waited status
  # A script starts programs in the background with SIGINT ignored; a terminal's Ctrl-C
  # finds it at its default.
  python3 -c 'import os, signal, sys; signal.signal(signal.SIGINT, signal.SIG_DFL)
os.execv(sys.argv[1], sys.argv[1:])' "$exe" 2>"$work/close-$signal.err" &
  app=$!
  sleep 2
  for i in $(seq 3000); do moves+=(mousemove $((20 + i % 600)) $((20 + i * 7 % 440))); done
  xdotool "${moves[@]}"
  started=$(now_ms)
  kill -"$signal" "$app"
  for _ in $(seq 40); do kill -0 "$app" 2>/dev/null || break; sleep 0.05; done
  kill -0 "$app" 2>/dev/null && fail "$screen: still running 2 s after SIG$signal behind 3000 pointer moves"
  waited=$(($(now_ms) - started))
  wait "$app"
  status=$?
  app=
  [ $status -eq 0 ] || fail "$screen: exit status $status after SIG$signal"
  say "$screen: SIG$signal behind 3000 pointer moves ended the run in $waited ms"
}

# Runs the intro to its own end (at most `seconds`); sets status, elapsed ms and stderr.
run_to_end() {
  local name=$1 seconds=$2
  shift 2
  local started
  started=$(now_ms)
  env "$@" timeout "$seconds" "$exe" 2>"$work/$name.err" >/dev/null
  status=$?
  elapsed=$(($(now_ms) - started))
  errors=$(cat "$work/$name.err")
}

if [ "$kind" = windows ]; then
  screen_start 640x480x16
  export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
  if [ -z "${WINEPREFIX:-}" ]; then
    fresh_prefix=$(mktemp -d)
    export WINEPREFIX=$fresh_prefix
  fi
  # The prefix is made and booted, and every Wine process of that boot has ended, before
  # the intro starts: a first start must not race the prefix's creation.
  started=$SECONDS
  wineboot --init >/dev/null 2>&1
  wineserver --wait
  say "Wine prefix $WINEPREFIX ready after $((SECONDS - started)) s"
  # Wine reports its missing sound card on stderr; the intro then runs silent.
  app_start wine
  show_check wine
  escape_check
  exit 0
fi

export SDL_AUDIODRIVER=${SDL_AUDIODRIVER:-dummy}

if [ "${SMOKE_SHOW_ONLY:-0}" = 1 ]; then
  screen_start 640x480x16
  app_start screen16
  show_check screen16
  escape_check
  exit 0
fi

# No display: one line, a non-zero status, within a second.
run_to_end no-display 5 -u SDL_VIDEODRIVER DISPLAY=:nonexistent
[ "$status" -ne 0 ] && [ "$status" -ne 124 ] || fail "no display: status $status"
[ "$elapsed" -lt 1000 ] || fail "no display: took $elapsed ms to give up"
[ "$(wc -l <"$work/no-display.err")" -eq 1 ] && grep -q "no display" <<<"$errors" \
  || fail "no display: wanted one line saying so, got: $errors"
say "no display: status $status after $elapsed ms: $errors"

# A driver that shows nothing, asked for by name, still runs the show.
run_to_end offscreen 2 SDL_VIDEODRIVER=offscreen DISPLAY=:nonexistent
[ "$status" -eq 124 ] || fail "offscreen driver: ended with status $status: $errors"
say "offscreen driver named: still running after 2 s"

screen_start 640x480x16
app_start screen16
show_check screen16
escape_check
close_check TERM
close_check INT

# On 15 bits the drawing stays 5.6.5 and SDL converts it: the magenta figure shows it.
screen_start 640x480x15
app_start screen15
show_check screen15
escape_check

# No window manager to make the window full screen: it stays 640 x 480 and shows all.
# No sound device either: one line of the intro's own, and the show goes on.
screen_start 1920x1080x24
app_start screen24 SDL_AUDIODRIVER=nonexistent
show_check screen24
geometry=$(xwininfo -name "Korvane'06 invitro" | awk '/Absolute upper-left X/ {x=$NF}
  /Absolute upper-left Y/ {y=$NF} /Width:/ {w=$NF} /Height:/ {h=$NF} END {print w "x" h "+" x "+" y}')
[ "$geometry" = "640x480+0+0" ] || fail "$screen: the window is $geometry, not 640x480+0+0"
say "$screen: the window is $geometry"
sound=$(grep -c "^invitro: no sound" "$work/screen24.err")
[ "$sound" -eq 1 ] || fail "no sound device: $sound lines of the intro's own about it"
say "no sound device: $(grep "^invitro:" "$work/screen24.err")"
escape_check

# SDL cannot draw on 8 bits: one line and a non-zero status instead of a black window.
screen_start 640x480x8
run_to_end screen8 10
[ "$status" -ne 0 ] && [ "$status" -ne 124 ] || fail "$screen: status $status"
[ "$(wc -l <"$work/screen8.err")" -eq 1 ] || fail "$screen: wanted one line, got: $errors"
say "$screen: status $status: $errors"
