#!/usr/bin/env bash
# Converts a generated scheduler trace of 2,000,000 events (switches and
# wake-ups) over 8 CPUs and 500 processes in timechart mode, and reports wall
# time, peak memory and throughput.
# Usage: bench/timechart-benchmark.sh [BUILD_DIR] [EVENTS] [CPUS] [PROCESSES]
set -euo pipefail
build=${1:-build}
events=${2:-2000000}
cpus=${3:-8}
processes=${4:-500}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$build/bench/make_sched_recording" "$work/perf.data" "$events" "$cpus" "$processes"
mkdir -p "$work/root"
input_mb=$(awk -v s="$(stat -c %s "$work/perf.data")" 'BEGIN { printf "%.1f", s / 1048576 }')
cd "$work"
kern_ver=3.10 ARM64=y ZELCONV_SYSROOT="$work/root" /usr/bin/time -f '%e %M' -o time.txt \
  "$OLDPWD/$build/zelconv" -t -i perf.data -o perf.json -r
read -r seconds peak_kb < time.txt
output_mb=$(awk -v s="$(stat -c %s perf.json)" 'BEGIN { printf "%.1f", s / 1048576 }')
echo "events ${events}, CPUs ${cpus}, processes ${processes}"
echo "input ${input_mb} MB, output ${output_mb} MB"
echo "wall ${seconds} s, peak $((peak_kb / 1024)) MB, $(awk -v m="$input_mb" -v s="$seconds" 'BEGIN { printf "%.1f", m / s }') MB/s of input"
