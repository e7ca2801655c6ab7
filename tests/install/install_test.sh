#!/usr/bin/env bash
# Installs the build into a fresh folder, builds the example outside the tree against what was installed, once by the
# CMake package and once by pkg-config, and has both render.
# usage: install_test.sh BUILD COMPILER [FLAGS]
set -euo pipefail
example=$(realpath "$(dirname "$0")/../../examples/one_frame")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$1" --prefix "$work/prefix" >"$work/log"
cmake -S "$example" -B "$work/build" -D CMAKE_PREFIX_PATH="$work/prefix" -D CMAKE_CXX_COMPILER="$2" \
  -D CMAKE_CXX_FLAGS="${3-}" >>"$work/log"
cmake --build "$work/build" >>"$work/log"
"$work/build/one_frame" >"$work/package.pam"

PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name vorlin-hosting.pc)")
export PKG_CONFIG_PATH
"$2" ${3-} $(pkg-config --cflags vorlin-hosting) "$example/main.cpp" -o "$work/one_frame" \
  -D EFFECT="\"$(pkg-config --variable=effect vorlin-hosting)\"" $(pkg-config --libs vorlin-hosting)
"$work/one_frame" | cmp - "$work/package.pam"
# The stroke runs through the middle, whose alpha is full, and leaves the corner empty: after the header, 320 x 180 RGBA.
header=$(($(wc -c <"$work/package.pam") - 320 * 180 * 4))
[ "$(od -An -tx1 -j $((header + (90 * 320 + 160) * 4 + 3)) -N 1 "$work/package.pam")" = " ff" ]
[ "$(od -An -tx1 -j "$header" -N 4 "$work/package.pam")" = " 00 00 00 00" ]
"$work/prefix/bin/vorlin" about | grep -q Nuvrik
