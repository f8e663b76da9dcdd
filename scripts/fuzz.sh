#!/bin/sh
# Runs the fuzzers (fuzz/README.md), one after the other:
#   fuzz.sh [--seconds N] [--only NAME]...
#
# --seconds  for each, a minute by default; 0 is until a finding or Ctrl-C
# --only     this one; all by default
set -eu
root=$(CDPATH='' cd -- "$(dirname -- "$0")/.." && pwd)
. "$root/scripts/setup.sh"

seconds=60
names=
while [ $# -gt 0 ]; do
  case $1 in
    --seconds) seconds=${2:?--seconds needs a number} && shift ;;
    --only) names="$names ${2:?--only needs a name}" && shift ;;
    *) sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2 && exit 2 ;;
  esac
  shift
done
[ -n "$names" ] || names=$(ls "$root/fuzz/corpus")

need_packages clang cmake libclang-rt-14-dev locales ninja-build
build fuzz
work=$root/build/fuzz

# fuzz NAME: what it learns goes to build/fuzz/corpus, beside the seeds.
fuzz() {
  mkdir -p "$work/corpus/$1" "$work/findings"
  "$work/fuzz/$1Fuzzer" -max_total_time="$seconds" -max_len=512 -timeout=60 \
    -print_final_stats=1 -artifact_prefix="$work/findings/$1-" \
    "$work/corpus/$1" "$root/fuzz/corpus/$1" >"$work/$1.log" 2>&1
}

failed=
total=0
for name in $names; do
  if fuzz "$name"; then
    tried=$(sed -n 's/^stat::number_of_executed_units: *//p' "$work/$name.log")
    printf '%-16s %9d inputs\n' "$name" "$tried"
    total=$((total + tried))
  else
    failed="$failed $name"
    tail -n 60 "$work/$name.log" >&2
  fi
done
if [ -n "$failed" ]; then
  echo "Findings of$failed: $work/findings" >&2
  exit 1
fi
echo "$total inputs tried, no finding"
