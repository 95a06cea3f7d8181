#!/usr/bin/env bash
# Fuzzes one target of tests/fuzz for a number of seconds:
#   scripts/fuzz.sh TARGET SECONDS      (targets: xyz dxf number roundtrip import)
# Builds the libFuzzer programs with clang, AddressSanitizer and
# UndefinedBehaviorSanitizer in build-fuzz/ (the core library included), runs
# TARGET on a scratch copy of tests/fuzz/corpus/TARGET/ and fails on a crash
# or a sanitizer report, leaving the input in build-fuzz/crashes/TARGET/.
# Copy such an input into the corpus (named crash-...) once it is fixed: the
# replay tests then try it on every test run. Set TOVALIN_BUILD_LOCK to a lock
# file to build under flock on a shared machine.
set -euo pipefail
cd "$(dirname "$0")/.."
targets=(xyz dxf number roundtrip import)
if [ $# -ne 2 ] || [[ ! " ${targets[*]} " == *" $1 "* ]] || [[ ! "$2" =~ ^[0-9]+$ ]]; then
  echo "Usage : scripts/fuzz.sh CIBLE SECONDES (cibles : ${targets[*]})" >&2
  exit 2
fi
target=$1
seconds=$2

# clang and its fuzzing runtime, with the project's own packages.
./scripts/deps.sh clang libclang-rt-14-dev

flags="-fsanitize=address,undefined -fno-sanitize-recover=undefined -fsanitize=fuzzer-no-link"
flags+=" -fno-omit-frame-pointer"
lock=()
[ -n "${TOVALIN_BUILD_LOCK:-}" ] && lock=(flock "$TOVALIN_BUILD_LOCK")
cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTOVALIN_FUZZ=ON \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS="$flags" >/dev/null
"${lock[@]}" cmake --build build-fuzz -j2 --target "fuzz_$target"

work=build-fuzz/work/$target
crashes=build-fuzz/crashes/$target
rm -rf "$work"
mkdir -p "$work" "$crashes"
cp tests/fuzz/corpus/"$target"/* "$work"/
program=build-fuzz/tests/fuzz/fuzz_$target
status=0
ASAN_OPTIONS=abort_on_error=1:detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
  LC_ALL=C.UTF-8 "$program" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=2048 \
  -print_final_stats=1 -artifact_prefix="$crashes/" "$work" || status=$?
found=$(find "$crashes" -type f | wc -l)
if [ "$status" -ne 0 ] || [ "$found" -ne 0 ]; then
  echo "Échec du fuzzing de $target (code $status) : entrées dans $crashes" >&2
  exit 1
fi
echo "Fuzzing de $target : ${seconds} s sans plantage ni rapport des sanitizers."
