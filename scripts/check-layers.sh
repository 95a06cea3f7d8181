#!/usr/bin/env bash
# Fails when an include line of src/ goes up a floor, or sideways between two
# folders of the same floor. Each folder uses only the floors below it; the
# command modules of floor 4 meet only in the program's main.cpp.
#
# The floors, lowest first: a path under src/ (a folder ending in "/", or a
# file), its floor, its unit. The longest matching path decides.
FLOORS='
platform/            1  platform
state/               2  state
formats/             3  formats
import/              3  import
app/                 4  app
dialogs/parameters/  4  parameters
editing/             4  editing
viewer/              4  viewer
printing/            4  printing
info/                4  info
app/main.cpp         5  program
cli/                 5  cli
'
# Usage: check-layers.sh [SOURCE_ROOT]   (default: the project's src/)
set -euo pipefail
root=${1:-"$(dirname "$0")/../src"}
cd "$root"

# Prints "floor unit" for a path under src/, or nothing when no entry covers it.
placement() {
    local path=$1 best="" floor="" unit="" prefix f u
    while read -r prefix f u; do
        [ -n "$prefix" ] || continue
        if [[ $path == "$prefix"* ]] && [ ${#prefix} -gt ${#best} ]; then
            best=$prefix floor=$f unit=$u
        fi
    done <<<"$FLOORS"
    [ -n "$best" ] && echo "$floor $unit"
    return 0
}

status=0
checked=0
while IFS= read -r -d '' file; do
    file=${file#./}
    read -r floor unit <<<"$(placement "$file")" || true
    if [ -z "${floor:-}" ]; then
        echo "$root/$file: this folder has no floor; place it at the top of scripts/check-layers.sh"
        status=1
        continue
    fi
    lineno=0
    while IFS= read -r line; do
        lineno=$((lineno + 1))
        [[ $line =~ ^[[:space:]]*#[[:space:]]*include[[:space:]]*\"([^\"]+)\" ]] || continue
        target=${BASH_REMATCH[1]}
        # An include without a folder is the including file's own folder.
        [[ $target == */* ]] || target="$(dirname "$file")/$target"
        checked=$((checked + 1))
        read -r tfloor tunit <<<"$(placement "$target")" || true
        if [ -z "${tfloor:-}" ]; then
            echo "$root/$file:$lineno: includes \"$target\", which lies in no floor"
            status=1
        elif [ "$tfloor" -gt "$floor" ]; then
            echo "$root/$file:$lineno: includes \"$target\": $unit (floor $floor) may not use $tunit (floor $tfloor, above it)"
            status=1
        elif [ "$tfloor" -eq "$floor" ] && [ "$tunit" != "$unit" ]; then
            echo "$root/$file:$lineno: includes \"$target\": $unit may not use $tunit, beside it on floor $floor"
            status=1
        fi
        tfloor="" tunit=""
    done <"$file"
    floor="" unit=""
done < <(find . -type f \( -name '*.cpp' -o -name '*.h' \) -print0 | sort -z)

if [ $status -eq 0 ]; then
    echo "Layers check passed ($checked include lines)."
fi
exit $status
