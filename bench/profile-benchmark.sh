#!/usr/bin/env bash
# Converts a generated recording of 1,000,000 plain samples with 15-entry
# back-traces over 50 maps in 20 processes, with a fake nm listing 5,000
# symbols per library, and reports wall time, peak memory and throughput
# (medians of 3 runs).
# Usage: bench/profile-benchmark.sh [BUILD_DIR] [SAMPLES]
#   BENCH_RUNS: runs (default 3)
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
samples=${2:-1000000}
here=$(cd "$(dirname "$0")" && pwd)
source "$here/bench-lib.sh"
enter_work_dir

"$build/bench/make_profile_recording" perf.data "$samples"
mkdir -p bin root sym/bench
for i in $(seq 0 24); do : >"sym/bench/lib$i.so"; done
# 5,000 functions of 1 KiB each, in nm -nCg form.
awk 'BEGIN { for (i = 0; i < 5000; i++) printf "%08x T function_%d\n", i * 1024, i }' >symbols.txt
printf '#!/bin/sh\ncat %s\n' "$work/symbols.txt" >bin/nm
chmod +x bin/nm

input=$(stat -c %s perf.data)
for ((run = 0; run < runs; run++)); do
  timed zelconv-profile env PATH="$work/bin:$PATH" ZELCONV_SYSROOT="$work/root" \
    "$build/zelconv" -i perf.data -o perf.json -p "$work/sym" -b 0.5
done
echo "samples $samples, input $(megabytes "$input") MB, output $(megabytes "$(stat -c %s perf.json)") MB"
echo "no ratio to perf script: perf cannot read the generated layout, whose attributes hold no sample layout"
report zelconv-profile "$input"
