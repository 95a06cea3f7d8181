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
expect() {
    if ! grep -qF -- "$1" <<<"$output"; then
        echo "not reported: $1"
        fail=1
    fi
}
refuse() {
    if grep -qF -- "$1" <<<"$output"; then
        echo "wrongly reported: $1"
        fail=1
    fi
}
[ $status -ne 0 ] || { echo "the check passed a tree with wrong includes"; fail=1; }
expect "formats/Reader.cpp:3: includes \"app/Form1.h\""
expect "editing/Editor.cpp:3: includes \"viewer/Zone.h\""
expect "app/main.cpp:3: includes \"cli/Converter.h\""
expect "platform/Bad.cpp:2: includes \"state/Store.h\""
expect "elsewhere/Lost.cpp: this folder has no floor"
refuse "Reader.cpp:1:"
refuse "Reader.cpp:2:"
refuse "Editor.cpp:1:"
refuse "Editor.cpp:2:"
refuse "Zone.cpp"
refuse "main.cpp:1:"
refuse "main.cpp:2:"
refuse "Bad.cpp:1:"
if [ $fail -ne 0 ]; then
    echo "--- what the check printed:"
    echo "$output"
    exit 1
fi
echo "The layers check names every wrong include and only those."
