#!/usr/bin/env bash
# Installs BUILD and uses what is installed.
#
# usage: install_test.sh WAY BUILD WORK    WAY as for consumer_test.sh
set -euo pipefail
way=$1 build=$2 work=$3

rm -rf "$work/prefix" "$work/build/CMakeCache.txt"  # which keeps what pkg-config said of an older prefix
cmake --install "$build" --prefix "$work/prefix" >/dev/null
"$(dirname "$0")/consumer_test.sh" "$way" "$work/prefix" "$work"
