#!/usr/bin/env bash
# Stopping capture while its ffmpeg hangs (alive, but not reading its input): the first
# Ctrl-C or SIGTERM stops the run, ending the encoder after a short grace; a second one
# ends capture at once. Neither leaves a temporary file or a running child behind.
set -euo pipefail
capture=$(realpath "$1")
work=$(mktemp -d)
children=$work/children
trap 'for p in $(cat "$children" 2>/dev/null); do kill -9 "$p" 2>/dev/null || true; done; rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
cd "$work"

# ffmpeg stand-ins, which note their process ids: one that never reads its frames, one
# that takes the frames but never finishes the MP4.
mkdir hangs-encoding hangs-muxing
cat > hangs-encoding/ffmpeg <<EOS
#!/bin/sh
[ "\$1" = -version ] && exit 0
echo \$\$ >> "$children"
exec sleep 600
EOS
cat > hangs-muxing/ffmpeg <<EOS
#!/bin/sh
[ "\$1" = -version ] && exit 0
case "\$*" in *-shortest*) echo \$\$ >> "$children"; exec sleep 600 ;; esac
cat > /dev/null
EOS
chmod +x hangs-encoding/ffmpeg hangs-muxing/ffmpeg

# run STAND_IN SECONDS_BEFORE_SIGNAL SIGNALS...: starts capture, sends the signals half a
# second apart, and sets status and elapsed (s, from the first signal to the end).
run() {
  local stand_in=$1 wait=$2 started
  shift 2
  rm -rf out && : > "$children"
  PATH="$work/$stand_in:$PATH" "$capture" --out out --seconds 20 --mp4 out.mp4 --sums out.sums \
    2>said &
  local pid=$!
  sleep "$wait"
  started=$SECONDS
  for signal in "$@"; do kill -"$signal" $pid; sleep 0.5; done
  status=0
  wait $pid || status=$?
  elapsed=$((SECONDS - started))
}
# A process that is still there a second later and not a zombie (a killed child of a
# process that ended is reaped by another, a moment later).
running() {
  for _ in $(seq 10); do
    [[ "$(ps -o stat= -p "$1" || true)" =~ ^[^Z] ]] || return 1
    sleep 0.1
  done
}
nothing_left() {
  local left
  left=$(ls -A out . | grep -e 'audio.wav.' -e '.capture-video' -e 'mp4.' -e 'sums.' || true)
  [ -z "$left" ] || fail "$1 left $left"
  for p in $(cat "$children"); do running "$p" && fail "$1 left ffmpeg $p running"; done
  return 0
}

run hangs-encoding 2 INT
[ $status -eq 130 ] || fail "one SIGINT, encoder hung: status $status ($(cat said))"
[ $elapsed -le 8 ] || fail "one SIGINT, encoder hung: took $elapsed s to stop"
grep -q "no MP4 was written" said && [ -s out/audio.wav ] && [ -s out.sums ] \
  || fail "one SIGINT, encoder hung: $(cat said)"
nothing_left "one SIGINT, encoder hung"

run hangs-encoding 2 TERM TERM
[ $status -ne 0 ] && [ $elapsed -le 2 ] || fail "two SIGTERMs: status $status after $elapsed s"
nothing_left "two SIGTERMs, encoder hung"

run hangs-muxing 8 INT INT
[ $status -ne 0 ] || fail "two SIGINTs while the MP4 is made: status 0"
nothing_left "two SIGINTs while the MP4 is made"
echo "capture stops: a hung ffmpeg is ended, and nothing is left behind"
