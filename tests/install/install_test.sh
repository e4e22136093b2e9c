#!/usr/bin/env bash
# Builds a project outside the tree against the libraries and compares what its programs print.
#
# usage: install_test.sh WAY SOURCE BUILD WORK    WAY is find_package, pkg_config or add_subdirectory
set -euo pipefail
way=$1 source=$2 build=$3 work=$4

rm -rf "$work/prefix" "$work/csv"
cmake --install "$build" --prefix "$work/prefix" >/dev/null
if [[ $way != add_subdirectory ]]; then export CMAKE_PREFIX_PATH=$work/prefix; fi  # pkg-config looks there too
cmake -S "$source/tests/install/consumer" -B "$work/build" -G Ninja -DWAY="$way" -DDDS2CSV_SOURCE="$source"
cmake --build "$work/build"

"$work/build/format_alone" | diff "$source/examples/format_alone.csv" -
"$work/build/convert_recording" "$source/examples/robot.mcap" "$work/csv"
"$work/prefix/bin/dds2csv" convert "$source/examples/robot.mcap" -o "$work/csv/tool"
for file in "$work"/csv/*.csv; do cmp "$file" "$work/csv/tool/${file##*/}"; done
