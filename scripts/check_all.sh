#!/usr/bin/env bash
# What a change must pass: `./check all`.
set -eu
cd "$(dirname "$0")/.."
. scripts/packages.sh
. scripts/stages.sh

need_packages cmake ninja-build g++ libhwy-dev libcli11-dev nlohmann-json3-dev libtomlplusplus-dev libeigen3-dev libgtest-dev libgmock-dev libjs-dygraphs gnuplot-nox chromium libbenchmark-dev clang \
  clang-tidy clang-format llvm man-db
# Where clang's sanitizer and fuzzer runtimes are a package of their own.
runtime=$(apt-cache search --names-only '^libclang-rt-dev$' 2>/dev/null | cut -d' ' -f1)
[ -z "$runtime" ] || need_packages "$runtime"

# Tests of how fast, or how slowly, something goes, and of what documents and reports show: a
# sanitizer says nothing new about it.
NOT_SANITIZED='Latency|DrivesTheFansToTheirSpeed|SwitchesTheFansInAWave|tutorial_test|report_page_test'

# What the sanitizers run of the soak: every shape, a few times.
SANITIZED_RUNS=6

check_format() {
  git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
}

fuzz() {
  for target in smc_fuzz guardian_fuzz; do
    mkdir -p "build/fuzz/corpus/$target"
    "build/fuzz/fuzz/$target" -max_total_time=30 -print_final_stats=1 \
      -artifact_prefix="build/fuzz/$target-" "build/fuzz/corpus/$target"
  done
}

benchmarks() {
  for benchmark in smc_bench simulated_bench linux_bench; do
    "build/release/bench/$benchmark" --benchmark_min_time=0.05
  done
}

install_all() {
  cmake --install build/release --prefix build/installed
  for program in build/installed/bin/* build/installed/libexec/vorn/*; do
    "$program" --version
    man --warnings -l "build/installed/share/man/man1/$(basename "$program").1" >/dev/null
  done
}

sanitized() {
  local preset=$1 name=$2
  test_stage "$name: unit tests" "$preset" -L unit -j "$(nproc)"
  test_stage "$name: whole programs" "$preset" -L program -E "$NOT_SANITIZED" -j "$places"
  VORN_SOAK_RUNS=$SANITIZED_RUNS \
    test_stage "$name: their end at any moment" "$preset" -L soak -E "$NOT_SANITIZED"
}

stage 'format' check_format
stage 'g++: building' build dev
test_stage 'g++: unit tests' dev -L unit -j "$(nproc)"
test_stage 'g++: whole programs' dev -L program -j "$places"
VORN_SOAK_RUNS=36 test_stage 'g++: their end at any moment' dev -L soak

stage 'clang: headers by themselves' build clang -- all_verify_interface_header_sets
stage 'addresses, undefined behaviour (g++): building' build asan
sanitized asan 'addresses, undefined behaviour'
stage 'threads (clang): building' build tsan
sanitized tsan 'threads'

stage 'fuzzing: building' build fuzz -- smc_fuzz guardian_fuzz
stage 'fuzzing, half a minute each' fuzz
stage 'clang-tidy' build tidy
stage 'release and benchmarks: building' build release -DVORN_BENCH=ON
stage 'benchmarks: one run of the quick ones' benchmarks
stage 'installation' install_all
stage 'demo' ./demo
totals
