#!/usr/bin/env bash
# The release texts in DIR keep to what viewers and archive listings expect:
# invitro.nfo plain ASCII in at most 80 columns, file_id.diz at most 45 columns and 10
# lines. Lines that only the web build keeps (between "@web" and "@end" in the
# sources) are counted, markers aside: with them the texts are at their longest.
#   tests/dist/text_limits.sh DIR      (docs/release, or an unpacked bundle)
set -euo pipefail
dir=${1:?usage: text_limits.sh DIR}
fail() { echo "FAIL: $*" >&2; exit 1; }

# The text as a bundle with the web build has it.
longest() { sed '/^@web$/d; /^@end$/d' "$1"; }

check() {
  local file=$dir/$1 columns=$2 lines=$3 bad widest count
  [ -s "$file" ] || fail "$file is missing or empty"
  [ "$(tail -c 1 "$file" | od -An -tx1 | tr -d ' ')" = 0a ] || fail "$file does not end with a line feed"
  bad=$(longest "$file" | LC_ALL=C grep -n '[^ -~]' | head -1 | cut -d: -f1 || true)
  [ -z "$bad" ] || fail "$file: line $bad is not plain printable ASCII (a tab, CR or byte above 126)"
  widest=$(longest "$file" | awk '{ if (length($0) > m) m = length($0) } END { print m + 0 }')
  count=$(longest "$file" | wc -l)
  [ "$widest" -le "$columns" ] || fail "$file has a line of $widest columns (at most $columns)"
  [ "$count" -le "$lines" ] || fail "$file has $count lines (at most $lines)"
  echo "$1: $count lines, at most $widest columns"
}

check invitro.nfo 80 100000
check file_id.diz 45 10
