#!/usr/bin/env bash
# Converts the same recordings with two builds of zelconv, the host's and the
# ARM cross build run under qemu-arm, and checks that the documents, the exit
# statuses and the messages are byte for byte the same; likewise for
# zelconv-import over perf's own recordings and damaged copies of them.
#
#   tools/compare-targets.sh HOST_BUILD_DIR ARM_BUILD_DIR
#
# Inputs: the bundled example, the real recordings (when present), two larger
# generated recordings, and every recording the host build's tests convert
# (with the recordings of this machine when ctest has made them), and damaged
# copies of some. Each is converted in both modes with a fixed base time, and
# with other options and kernel layouts; the machine's files are taken from
# tests/tools/sysroot so that nothing of the host leaks into the documents.
set -euo pipefail

if [ $# -ne 2 ]; then
  echo "usage: $0 HOST_BUILD_DIR ARM_BUILD_DIR" >&2
  exit 2
fi
source_dir=$(cd "$(dirname "$0")/.." && pwd)
host=$(realpath "$1/zelconv")
arm=$(realpath "$2/zelconv")
host_import=$(realpath "$1/zelconv-import")
arm_import=$(realpath "$2/zelconv-import")
host_tests=$(realpath "$1/tests/zelconv_tests")
read -r -a emulator <<<"${ZELCONV_EMULATOR:-qemu-arm}"
real_dir=${ZELCONV_REAL_DIR:-/work/shared/real}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/inputs" "$work/run" "$work/perf"

cp "$source_dir/examples/perf.data" "$work/inputs/example.data"
for real in "$real_dir"/perf.data.*; do
  [ -f "$real" ] && cp "$real" "$work/inputs/real-$(basename "$real").data"
done
# Two larger generated recordings: many processes, maps and samples, and a scheduler trace over several CPUs.
"$1/bench/make_profile_recording" "$work/inputs/bench-profile.data" 20000 >/dev/null
"$1/bench/make_sched_recording" "$work/inputs/bench-sched.data" 40000 4 40 >/dev/null
# The recordings of this machine that ctest made with perf, when it could, are imported by their own tests.
test_programs=("$host_tests")
if [ -x "$1/tests/zelconv_real_tests" ] && [ -f "$1/tests/real-fixtures/trace.data" ]; then
  test_programs+=("$(realpath "$1/tests/zelconv_real_tests")")
fi
for program in "${test_programs[@]}"; do
  ZELCONV_KEEP_INPUTS="$work/inputs" "$program" --gtest_brief=1 >"$work/host-tests.log" 2>&1 || {
    cat "$work/host-tests.log"
    echo "the host build's tests failed: $program" >&2
    exit 1
  }
done

# Many tests convert the same recording; keep one copy of each.
sha256sum "$work"/inputs/*.data | sort | awk 'seen[$1]++ { print $2 }' | xargs -r rm --

# damage SOURCE COPIES FLIPS KEEP: damaged copies beside SOURCE, copy n with
# n * FLIPS random bytes behind its first KEEP bytes.
damage() {
  local source=$1 copies=$2 flips=$3 keep=$4 size copy damaged
  size=$(stat -c %s "$source")
  [ "$size" -gt "$keep" ] || return 0
  for copy in $(seq "$copies"); do
    damaged="$(dirname "$source")/damaged-$copy-$(basename "$source")"
    cp "$source" "$damaged"
    for _ in $(seq $((copy * flips))); do
      printf "\\x$(printf %02x $((RANDOM % 256)))" |
        dd of="$damaged" bs=1 seek=$((keep + (RANDOM * 32768 + RANDOM) % (size - keep))) conv=notrunc status=none
    done
  done
}

# Damaged copies of a few recordings: foreign bytes in names, counts and
# payloads are where a char's signedness or a long's width would show.
RANDOM=8
for source in "$work"/inputs/{example,*TimechartFullDocument*,*SchedulerStory*,real-perf.data.armv7-3.4}.data; do
  [ -f "$source" ] && damage "$source" 8 3 56
done

# Runs one build on one input in a fresh directory, with the variables of the
# words "NAME=value" of the mode; leaves document, status and messages under $1.
convert() {
  local out=$1 input=$2 mode=$3
  shift 3
  local variables=() options=() word
  for word in $mode; do
    if [[ $word == *=* ]]; then variables+=("$word"); else options+=("$word"); fi
  done
  rm -rf "$work/run" && mkdir "$work/run" && cp "$input" "$work/run/perf.data"
  local status=0
  (cd "$work/run" && env -i PATH="$PATH" ZELCONV_SYSROOT="$source_dir/tests/tools/sysroot" "${variables[@]}" \
    "$@" "${options[@]}" \
    >stdout.txt 2>stderr.txt) 2>/dev/null || status=$?
  mkdir -p "$out"
  echo "$status" >"$out/status"
  # qemu adds a line of its own when the program dies of a signal.
  grep -v '^qemu: uncaught target signal' "$work/run/stderr.txt" >"$out/stderr" || true
  mv "$work/run/stdout.txt" "$out/stdout"
  if [ -f "$work/run/perf.json" ]; then mv "$work/run/perf.json" "$out/document"; fi
}

# Both modes, the other writer switches and the later kernel layouts; always
# with a fixed base time, which would otherwise come from the clock.
modes=("-b 5000.125" "-t -b 5000.125" "-t -z -l -W -R -b 5000.125" "kern_ver=3.10 -t -q -c 2 -g 7 -b 3" "ARM64=y -t -r -b 100" "CHIP=msm8960 -I -l -b 1.5")
inputs=("$work"/inputs/*.data)
compared=0 differing=0 documents=0
for input in "${inputs[@]}"; do
  for mode in "${modes[@]}"; do
    convert "$work/host" "$input" "$mode" "$host"
    convert "$work/arm" "$input" "$mode" "${emulator[@]}" "$arm"
    compared=$((compared + 1))
    if [ -s "$work/host/document" ]; then documents=$((documents + 1)); fi
    if ! diff -r "$work/host" "$work/arm" >"$work/diff" 2>&1; then
      differing=$((differing + 1))
      echo "DIFFERS: $(basename "$input") $mode"
      head -c 2000 "$work/diff"
      echo
    fi
    rm -rf "$work/host" "$work/arm"
  done
done
echo "compared $compared conversions of ${#inputs[@]} recordings ($documents wrote a document): $differing differ"

# The importer over recordings as perf writes them: the real ones, this
# machine's (file and pipe), the fuzz seeds, and damaged copies of a few.
for real in "$real_dir"/perf.data.* "$1"/tests/real-fixtures/*.data "$source_dir"/fuzz/seeds/import/*; do
  [ -f "$real" ] && cp "$real" "$work/perf/$(basename "$real")"
done
for source in "$work"/perf/*; do
  damage "$source" 3 4 16
done
# Runs one build of the importer on one input; leaves output, status and messages under $1.
import() {
  local out=$1 input=$2
  shift 2
  rm -rf "$work/run" && mkdir "$work/run" "$out"
  local status=0
  (cd "$work/run" && env -i PATH="$PATH" "$@" "$input" out.data >stdout.txt 2>stderr.txt) 2>/dev/null || status=$?
  echo "$status" >"$out/status"
  grep -v '^qemu: uncaught target signal' "$work/run/stderr.txt" >"$out/stderr" || true
  mv "$work/run/stdout.txt" "$out/stdout"
  if [ -f "$work/run/out.data" ]; then mv "$work/run/out.data" "$out/output"; fi
}
imported=0 import_differing=0
for input in "$work"/perf/*; do
  import "$work/host" "$input" "$host_import"
  import "$work/arm" "$input" "${emulator[@]}" "$arm_import"
  imported=$((imported + 1))
  if ! diff -r "$work/host" "$work/arm" >"$work/diff" 2>&1; then
    import_differing=$((import_differing + 1))
    echo "DIFFERS: zelconv-import $(basename "$input")"
    head -c 2000 "$work/diff"
    echo
  fi
  rm -rf "$work/host" "$work/arm"
done
echo "compared $imported imports: $import_differing differ"
[ "$differing" -eq 0 ] && [ "$import_differing" -eq 0 ]
