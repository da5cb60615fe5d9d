#!/usr/bin/env bash
# Converts a generated scheduler trace of 2,000,000 events (switches and
# wake-ups) over 8 CPUs and 500 processes in timechart mode, and reports wall
# time, peak memory and throughput (medians of 3 runs).
# Usage: bench/timechart-benchmark.sh [BUILD_DIR] [EVENTS] [CPUS] [PROCESSES]
#   BENCH_RUNS: runs (default 3)
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
events=${2:-2000000}
cpus=${3:-8}
processes=${4:-500}
here=$(cd "$(dirname "$0")" && pwd)
source "$here/bench-lib.sh"
enter_work_dir

"$build/bench/make_sched_recording" perf.data "$events" "$cpus" "$processes"
mkdir -p root
input=$(stat -c %s perf.data)
for ((run = 0; run < runs; run++)); do
  timed zelconv-timechart env kern_ver=3.10 ARM64=y ZELCONV_SYSROOT="$work/root" \
    "$build/zelconv" -t -i perf.data -o perf.json -r
done
echo "events $events, CPUs $cpus, processes $processes"
echo "input $(megabytes "$input") MB, output $(megabytes "$(stat -c %s perf.json)") MB"
echo "no ratio to perf script: perf cannot read the generated layout, whose attributes hold no sample layout"
report zelconv-timechart "$input"
