# shellcheck shell=bash
# Sourced by the commands at the top: what they do in stages, one line for each, quiet unless one
# fails.

# What the stage under way prints. A command may be a stage of another one: each has its own.
log=$PWD/build/check.$$.log
trap 'rm -f "$log"' EXIT

# How many places the tests of programs share (cmake/targets.cmake).
places=$((2 * $(nproc)))

# What the tests of all stages came to.
passed=0
failed=0
skipped=0

# stage NAME COMMAND...: runs the command and prints its name and seconds; its output, if it fails,
# and the end of this command with it.
stage() {
  local name=$1 start=$SECONDS
  shift
  mkdir -p build
  printf '%-50s' "$name"
  if "$@" >"$log" 2>&1; then
    printf '%5d s\n' $((SECONDS - start))
  else
    printf '%5d s  FAILED\n' $((SECONDS - start))
    cat "$log"
    return 1
  fi
}

# build PRESET [OPTION...] [-- TARGET...]: configures with the options and builds the targets, or
# everything.
build() {
  local preset=$1 options=()
  shift
  while [ $# -gt 0 ] && [ "$1" != -- ]; do
    options+=("$1")
    shift
  done
  [ $# -eq 0 ] || shift
  cmake --preset "$preset" "${options[@]}" && cmake --build --preset "$preset" ${1:+--target "$@"}
}

# testcases RESULTS PATTERN: how many of the results match.
testcases() {
  { grep -rho '<testcase [^>]*>' "$1" 2>/dev/null || true; } | grep -c "$2" || true
}

# failures RESULTS: how many of the tests have failed. A test that noted a figure has lines of its own
# in the results as well.
failures() {
  find "$1" -name '*.xml' -exec cat {} + 2>/dev/null |
    awk '/<testcase /{ said = 0 } /<failure /&& !said { said = 1; count++ } END { print count + 0 }'
}

# reasons RESULTS: why tests were skipped, and how many for each reason.
reasons() {
  { grep -rho '<skipped message="[^"]*"' "$1" 2>/dev/null || true; } |
    sed -e 's/^<skipped message="//' -e 's/"$//' -e 's/&#x0A;$//' -e 's/^.*:[0-9]*&#x0A;//' |
    sort | uniq -c | sed 's/^ *\([0-9]*\) /    skipped \1: /'
}

# test_stage NAME PRESET OPTION...: runs tests and says what became of them. If one fails, the
# stages after it run all the same, and totals() fails.
test_stage() {
  local name=$1 preset=$2 start=$SECONDS results=build/$2/results status=0 ran bad left_out
  shift 2
  rm -rf "$results"
  printf '%-50s' "$name"
  ctest --preset "$preset" "$@" >"$log" 2>&1 || status=$?
  left_out=$(testcases "$results" 'result="skipped"')
  bad=$(failures "$results")
  ran=$(testcases "$results" 'status="run"')
  if [ "$status" -ne 0 ] && [ "$bad" -eq 0 ]; then
    bad=1 # one that ended without a result
    ran=$((ran + 1))
  fi
  passed=$((passed + ran - left_out - bad))
  failed=$((failed + bad))
  skipped=$((skipped + left_out))
  printf '%5d s  %d passed, %d failed, %d skipped\n' $((SECONDS - start)) \
    $((ran - left_out - bad)) "$bad" "$left_out"
  reasons "$results"
  if [ "$status" -ne 0 ]; then
    sed -n -e '/ Test .*\*\*\*[^S]/,/^ *Start \| Test .* Passed /{/^ *Start \| Passed /!p}' \
      -e '/^The following tests FAILED/,$p' -e '/^No tests\|^CMake Error/p' "$log"
  fi
}

# totals: the closing line; fails if a test did.
totals() {
  printf '\n%d passed, %d failed, %d skipped\n' "$passed" "$failed" "$skipped"
  [ "$failed" -eq 0 ]
}
