#!/usr/bin/env bash
# What a change must pass: `./check all`.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh

need_packages cmake ninja-build g++ libhwy-dev libgtest-dev libgmock-dev libbenchmark-dev clang \
  clang-tidy clang-format llvm man-db
# Where clang's sanitizer and fuzzer runtimes are a package of their own.
runtime=$(apt-cache search --names-only '^libclang-rt-dev$' 2>/dev/null | cut -d' ' -f1)
[ -z "$runtime" ] || need_packages "$runtime"

# Tests of how fast, or how slowly, something goes: a sanitizer says nothing new about it.
SLOW='Latency|DrivesTheFansToTheirSpeed|SwitchesTheFansInAWave'

begin() { printf '\n== %s (%s s)\n' "$1" "$SECONDS" >&2; }

begin 'format'
git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

begin 'g++: every test'
./check

begin 'clang: every header by itself'
cmake --preset tsan >build/headers.log
cmake --build --preset tsan --target all_verify_interface_header_sets >>build/headers.log ||
  { cat build/headers.log && exit 1; }

# Of the soak, whose shapes differ little to a sanitizer, each eighth one.
begin 'g++, address and undefined-behaviour sanitizers: every test'
build asan
ctest --preset asan -L unit -j "$(nproc)"
ctest --preset asan -L program -E "$SLOW"
ctest --preset asan -L soak -I 1,,8

begin 'clang, thread sanitizer: every test'
build tsan
ctest --preset tsan -L unit -j "$(nproc)"
ctest --preset tsan -L program -E "$SLOW"
ctest --preset tsan -L soak -I 5,,8

begin 'fuzzing, half a minute'
build fuzz
mkdir -p build/fuzz/corpus
build/fuzz/fuzz/smc_fuzz -max_total_time=30 -print_final_stats=1 build/fuzz/corpus 2>&1 | tail -n 12

begin 'clang-tidy'
build tidy

begin 'benchmarks: build, and one run of the quick ones'
build bench
build/bench/bench/smc_bench --benchmark_min_time=0.05
build/bench/bench/simulated_bench --benchmark_min_time=0.05
build/bench/bench/linux_bench --benchmark_min_time=0.05

begin 'installation and demo'
build release
cmake --install build/release --prefix build/installed >/dev/null
for program in vorn vorn-sim vorn-keys vorn-keys-sim; do
  "build/installed/bin/$program" --version
  man --warnings -l "build/installed/share/man/man1/$program.1" >/dev/null
done
./demo

begin 'done'
