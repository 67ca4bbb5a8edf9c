#!/usr/bin/env bash
# Every compile command of a build has -ffp-contract=off and none asks for FMA
# instructions (-mfma, -march=x86-64-v3 or above, -march=native): a fused multiply-add
# rounds once where the code rounds twice, and the outputs would differ between CPUs.
#   tests/build/float_flags_check.sh build/release/compile_commands.json
set -euo pipefail
commands=${1:?usage: float_flags_check.sh compile_commands.json}
[ -s "$commands" ] || { echo "FAIL: $commands is missing" >&2; exit 1; }
python3 - "$commands" <<'PY'
import json, re, sys
entries = json.load(open(sys.argv[1]))
bad = []
for e in entries:
    command = e.get("command") or " ".join(e.get("arguments", []))
    if "-ffp-contract=off" not in command.split():
        bad.append(("no -ffp-contract=off", e["file"]))
    m = re.search(r"(?<!\S)(-mfma|-march=(?:x86-64-v[34]|native))(?!\S)", command)
    if m:
        bad.append((m.group(1), e["file"]))
for why, f in bad[:10]:
    print(f"FAIL: {f}: {why}", file=sys.stderr)
if bad:
    sys.exit(1)
print(f"{len(entries)} compile commands, each with -ffp-contract=off and none asking for FMA")
PY
