#!/usr/bin/env bash
# The layers check on a small tree made to break it: every wrong include is
# named with its file and line, and the right ones are not.
set -uo pipefail
check=$1
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
put() { mkdir -p "$(dirname "$tree/$1")"; printf '%s\n' "${@:2}" >"$tree/$1"; }

put platform/Text.h '#pragma once' '#include <QString>'
put state/Store.h '#include "platform/Text.h"'
put formats/Reader.cpp '#include "formats/Reader.h"' '#include "state/Store.h"' '#include "app/Form1.h"'
put editing/Editor.cpp '#include "state/Store.h"' '#include "formats/Reader.h"' '  #  include "viewer/Zone.h"'
put viewer/Zone.cpp '#include "Zone.h"' '#include "platform/Text.h"'
put app/main.cpp '#include "viewer/Zone.h"' '#include "editing/Editor.h"' '#include "cli/Converter.h"'
put platform/Bad.cpp '// #include "state/Store.h" is only a comment' '#include "state/Store.h"'
put elsewhere/Lost.cpp '#include "platform/Text.h"'

output=$(bash "$check" "$tree" 2>&1)
status=$?
fail=0
[ $status -ne 0 ] || { echo "the check passed a tree with wrong includes"; fail=1; }
for wrong in 'formats/Reader.cpp:3: includes "app/Form1.h"' 'editing/Editor.cpp:3: includes "viewer/Zone.h"' \
    'app/main.cpp:3: includes "cli/Converter.h"' 'platform/Bad.cpp:2: includes "state/Store.h"' \
    'elsewhere/Lost.cpp: this folder has no floor'; do
    grep -qF -- "$wrong" <<<"$output" || { echo "not reported: $wrong"; fail=1; }
done
for right in Reader.cpp:1: Reader.cpp:2: Editor.cpp:1: Editor.cpp:2: Zone.cpp main.cpp:1: main.cpp:2: Bad.cpp:1:; do
    grep -qF -- "$right" <<<"$output" && { echo "wrongly reported: $right"; fail=1; }
done
if [ $fail -ne 0 ]; then
    echo "--- what the check printed:"
    echo "$output"
    exit 1
fi
echo "The layers check names every wrong include and only those."
