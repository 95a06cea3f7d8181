#!/usr/bin/env bash
# Fails when a C++ file is not formatted as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.h' 2>/dev/null || find src tests bench -name '*.cpp' -o -name '*.h')
[ ${#files[@]} -eq 0 ] && exit 0
if ! clang-format --dry-run --Werror "${files[@]}"; then
  echo "Mise en forme incorrecte : lancer clang-format -i sur les fichiers ci-dessus." >&2
  exit 1
fi
echo "Formatting check passed (${#files[@]} files)."
