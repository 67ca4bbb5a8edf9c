#!/usr/bin/env bash
# Dependencies point one way: app -> demo -> engine -> raster -> display -> platform, with
# music and assets on their own. A source file may include headers of its own folder and of
# the folders below it, never of one above it. Prints each upward include and fails.
#   tests/layers/include_check.sh [SOURCE_DIR]
set -euo pipefail
cd "${1:-$(dirname "$0")/../..}"

# What each folder may include besides itself.
declare -A allowed=(
  [platform]=""
  [display]="platform"
  [raster]="platform display"
  [engine]="platform display raster"
  [demo]="platform display raster engine assets"
  [app]="platform display raster engine demo assets music"
  [music]=""
  [assets]=""
)

bad=0
for folder in "${!allowed[@]}"; do
  [ -d "$folder" ] || continue
  while IFS=: read -r file line text; do
    target=$(sed -E 's/.*#include "([a-z_]+)\/.*/\1/' <<<"$text")
    [ "$target" = "$folder" ] && continue
    case " ${allowed[$folder]} " in *" $target "*) continue ;; esac
    echo "$file:$line: $folder includes $target ($text)"
    bad=1
  done < <(grep -rnE '^\s*#\s*include "[a-z_]+/' "$folder" --include='*.cpp' --include='*.h' || true)
done
[ $bad -eq 0 ] && echo "includes point one way"
exit $bad
