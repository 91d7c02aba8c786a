#!/usr/bin/env bash
# Plants the faults of scripts/mutations.txt, one at a time, and says which the tests find.
#
#   scripts/mutations.sh                 all of them
#   scripts/mutations.sh PATTERN ...     those whose title or file contains one of the patterns
#   scripts/mutations.sh -l [PATTERN ...]  only lists them, and checks that they can be planted
#
# Works on a copy of the checkout in build/mutations, with the preset dev's settings: the sources
# here are never changed. Each fault takes an incremental build of one test program, and the tests
# named beside it. Before the faults, the same tests must pass without one.
# Status: 0 if all are found, 1 if one is not, 2 if the list does not fit the sources.
set -u
cd "$(dirname "$0")/.."

LIST=scripts/mutations.txt
TREE=build/mutations/tree
BUILD=build/mutations/tree/build/dev
LOG=build/mutations/log
PATIENCE=120 # seconds; a test that hangs has found its fault

titles=() files=() seds=() programs=() filters=()

refuse() {
  echo "mutations: $*" >&2
  exit 2
}

# Reads the list: a title, and behind it indented lines of file, sed and test.
read_list() {
  local line number=0 last=-1
  while IFS= read -r line; do
    number=$((number + 1))
    case $line in
      '' | '#'*) ;;
      '  file '*) files[last]=${line#  file } ;;
      '  sed '*) seds[last]=${line#  sed } ;;
      '  test '*)
        read -r _ programs[last] filters[last] <<<"$line"
        ;;
      ' '*) refuse "$LIST:$number: neither file, sed nor test" ;;
      *)
        last=$((last + 1))
        titles[last]=$line files[last]='' seds[last]='' programs[last]='' filters[last]=''
        ;;
    esac
  done <"$LIST"
}

# Whether the fault $1 is asked for by the patterns behind it.
chosen() {
  local fault=$1 pattern
  shift
  [ $# -gt 0 ] || return 0
  for pattern; do
    case "${titles[fault]} ${files[fault]}" in *"$pattern"*) return 0 ;; esac
  done
  return 1
}

# Prints the file of the fault $1 with the fault in it. Fails if that is the file without it.
planted() {
  local text
  [ -f "${files[$1]}" ] || return 1
  text=$(sed -E "${seds[$1]}" "${files[$1]}" && echo .) || return 1
  [ "$text" != "$(cat "${files[$1]}" && echo .)" ] && printf %s "${text%.}"
}

# Brings the copy to the state of the checkout. Unchanged files keep their times.
synchronise() {
  mkdir -p "$TREE"
  git ls-files --cached --others --exclude-standard -z | while IFS= read -r -d '' file; do
    [ -f "$file" ] && ! cmp -s "$file" "$TREE/$file" || continue
    mkdir -p "$TREE/$(dirname "$file")"
    cp -p "$file" "$TREE/$file"
    touch "$TREE/$file"
  done
  [ -f "$BUILD/build.ninja" ] || (cd "$TREE" && cmake --preset dev >/dev/null) ||
    refuse "the build of $TREE cannot be configured"
}

build_program() {
  cmake --build "$BUILD" --target "$1" -j "${JOBS:-$(nproc)}" >"$LOG" 2>&1
}

# Runs the tests $2 of the program $1. The log has what they print.
run_tests() {
  local path
  path=$(find "$BUILD" -type f -name "$1" -perm -u+x)
  timeout -k 5 "$PATIENCE" "$path" --gtest_filter="$2" >"$LOG" 2>&1
}

# The tests of the chosen faults must exist and pass while there is no fault.
check_without_faults() {
  local fault
  for fault; do
    [ -z "${checked[${programs[fault]} ${filters[fault]}]-}" ] || continue
    checked[${programs[fault]} ${filters[fault]}]=yes
    build_program "${programs[fault]}" || refuse "${programs[fault]} is not built, see $LOG"
    run_tests "${programs[fault]}" "${filters[fault]}" ||
      refuse "without a fault, ${programs[fault]} ${filters[fault]} fails, see $LOG"
    grep -q '^\[  PASSED  \] [1-9]' "$LOG" ||
      refuse "${programs[fault]} has no test ${filters[fault]} that runs here"
  done
}

# Why the tests of the log failed: the first of them that did, or that they did not end.
first_failure() {
  local test
  test=$(sed -nE 's/^\[  FAILED  \] ([A-Za-z][A-Za-z0-9_/.]*).*/\1/p' "$LOG" | head -1)
  [ -n "$test" ] || test="$(sed -nE 's/^\[ RUN      \] //p' "$LOG" | tail -1), which does not end well"
  echo "$test"
}

# Plants the fault $1 and runs its tests. Prints a line; returns whether it was found. A fault that
# the compiler finds is none.
try() {
  local fault=$1 file=$TREE/${files[$1]} found=0
  planted "$fault" >"$file"
  if ! build_program "${programs[fault]}"; then
    echo "NOT BUILT  ${titles[fault]}"
    sed -n '/error:/{p;q}' "$LOG"
    unfit=$((unfit + 1))
  elif run_tests "${programs[fault]}" "${filters[fault]}"; then
    echo "NOT FOUND  ${titles[fault]}"
  else
    echo "found      ${titles[fault]} (by $(first_failure))"
    found=1
  fi
  cp "${files[fault]}" "$file"
  [ $found = 1 ]
}

only_list=no
if [ "${1-}" = -l ]; then
  only_list=yes
  shift
fi
read_list
wanted=()
for fault in "${!titles[@]}"; do
  [ -n "${filters[fault]}" ] || refuse "\"${titles[fault]}\" names no test"
  planted "$fault" >/dev/null || refuse "\"${titles[fault]}\" does not apply to ${files[fault]} any more"
  if chosen "$fault" "$@"; then
    wanted+=("$fault")
  fi
done
[ ${#wanted[@]} -gt 0 ] || refuse "no fault is called like that"
if [ $only_list = yes ]; then
  for fault in "${wanted[@]}"; do
    echo "${titles[fault]} (${files[fault]}; ${programs[fault]} ${filters[fault]})"
  done
  echo "${#wanted[@]} faults"
  exit 0
fi

declare -A checked=()
synchronise
check_without_faults "${wanted[@]}"
found=0 unfit=0
for fault in "${wanted[@]}"; do
  if try "$fault"; then
    found=$((found + 1))
  fi
done
echo "found $found of ${#wanted[@]}"
[ $unfit = 0 ] || refuse "$unfit faults are not built; the list needs other lines for them"
[ $found = ${#wanted[@]} ]
