#!/usr/bin/env bash
# Converts generated recordings of many MMAP records (1,000 processes, maps
# in a scattered order, 100,000 samples looked up in them) at several sizes
# up to 1,000,000 maps, and reports wall time, peak memory, throughput and
# the cost per map record (medians of 3 runs), so that growth beyond linear
# shows as a rising cost per record.
# Usage: bench/mmap-benchmark.sh [BUILD_DIR] [MAPS...]
#   BENCH_RUNS: runs (default 3)
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
shift || true
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(10000 100000 1000000)
here=$(cd "$(dirname "$0")" && pwd)
source "$here/bench-lib.sh"
enter_work_dir
mkdir -p root

echo "no ratio to perf script: perf cannot read the generated layout, whose attributes hold no sample layout"
for maps in "${sizes[@]}"; do
  "$build/bench/make_mmap_recording" "maps-$maps.data" "$maps" 100000
  input=$(stat -c %s "maps-$maps.data")
  for ((run = 0; run < runs; run++)); do
    timed "zelconv-maps-$maps" env ZELCONV_SYSROOT="$work/root" \
      "$build/zelconv" -i "maps-$maps.data" -o perf.json -b 0.5
  done
  line=$(report "zelconv-maps-$maps" "$input")
  seconds=$(median $(awk '{ print $1 }' "zelconv-maps-$maps.times"))
  echo "$line  $(awk -v s="$seconds" -v n="$maps" 'BEGIN { printf "%.2f us per map", s * 1e6 / n }')"
done
