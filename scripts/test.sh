#!/usr/bin/env bash
# Builds Tovalin and runs every test, with the formatting check.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/deps.sh
./scripts/check-format.sh
./scripts/build.sh
cd build
ctest --output-on-failure -j2
