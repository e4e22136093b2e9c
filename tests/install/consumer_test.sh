#!/usr/bin/env bash
# Builds a project outside the tree against the libraries and compares what its programs write with what the tool writes.
#
# usage: consumer_test.sh WAY PREFIX WORK    WAY is find_package, pkg_config or add_subdirectory
set -euo pipefail
way=$1 prefix=$2 work=$3
source=$(realpath "$(dirname "$0")/../..")

rm -rf "$work/csv"
if [[ $way != add_subdirectory ]]; then export CMAKE_PREFIX_PATH=$prefix; fi  # pkg-config looks there too
version=$("$prefix/bin/dds2csv" --version | sed -n '1s/.* //p')
cmake -S "$source/tests/install/consumer" -B "$work/build" -G Ninja -DWAY="$way" -DVERSION="$version" \
    -DDDS2CSV_SOURCE="$source"
cmake --build "$work/build"

"$work/build/format_alone" | diff "$source/examples/format_alone.csv" -
"$work/build/convert_recording" "$source/examples/robot.mcap" "$work/csv"
"$prefix/bin/dds2csv" convert "$source/examples/robot.mcap" -o "$work/csv/tool"
for file in "$work"/csv/*.csv; do cmp "$file" "$work/csv/tool/${file##*/}"; done
