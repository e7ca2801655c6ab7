#!/usr/bin/env bash
# The chunks of a farm, each a process of its own and all at once, give the bytes of one run.
# usage: chunks.sh VORLIN SCENE
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
render=("$1" render "$2" --preset lava -F 0-87x3 --downsample 1/3 -q)
"${render[@]}" -o one.####.png
pids=()
for part in 1 2 3 4; do
  "${render[@]}" -o farm.####.png --chunk $part/4 &
  pids+=($!)
done
for pid in "${pids[@]}"; do wait "$pid"; done
[ "$(ls | wc -l)" = 60 ]
for picture in one.*; do cmp "$picture" "farm.${picture#one.}"; done
