#!/bin/sh
# The benchmark in one command: builds the programs (Release, in build-bench/)
# when needed, installs the peers (numpy, pandas, ogr2ogr) when missing,
# makes the data files in bench/data/ and prints the table.
#
#   bench/run.sh [--runs N] [--sizes 10000,100000,1000000] [--no-peers] [--import-only]
#
# TOVALIN_BUILD=folder runs the programs of another build folder instead
# (configured with -DTOVALIN_BENCH=ON), e.g. to compare two versions.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")

if [ -n "${TOVALIN_BUILD:-}" ]; then
    build=$TOVALIN_BUILD
else
    build=$root/build-bench
    if [ ! -f "$build/CMakeCache.txt" ]; then
        cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTOVALIN_BENCH=ON
    fi
    cmake --build "$build" -j "$(nproc)" --target tovalin-cli tovalin-gui-bench tovalin-print-bench
fi

# The peers, from Debian's packages.
missing=""
case " $* " in
*" --import-only "*) ;; # ogr2ogr is the importer's only peer
*)
    /usr/bin/python3 -c 'import numpy' 2>/dev/null || missing="$missing python3-numpy"
    /usr/bin/python3 -c 'import pandas' 2>/dev/null || missing="$missing python3-pandas"
    ;;
esac
command -v ogr2ogr >/dev/null 2>&1 || missing="$missing gdal-bin"
if [ -n "$missing" ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update -qq
    # shellcheck disable=SC2086
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq $missing
fi

exec /usr/bin/python3 "$here/bench.py" --bin "$build/bin" "$@"
