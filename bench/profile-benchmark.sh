#!/usr/bin/env bash
# Converts a generated recording of 1,000,000 plain samples with 15-entry
# back-traces over 50 maps in 20 processes, with a fake nm listing 5,000
# symbols per library, and reports wall time, peak memory and throughput.
# Usage: bench/profile-benchmark.sh [BUILD_DIR] [SAMPLES]
set -euo pipefail
build=${1:-build}
samples=${2:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$build/bench/make_profile_recording" "$work/perf.data" "$samples"
mkdir -p "$work/bin" "$work/root" "$work/sym/bench"
for i in $(seq 0 24); do : > "$work/sym/bench/lib$i.so"; done
# 5,000 functions of 1 KiB each, in nm -nCg form.
awk 'BEGIN { for (i = 0; i < 5000; i++) printf "%08x T function_%d\n", i * 1024, i }' > "$work/symbols.txt"
printf '#!/bin/sh\ncat %s\n' "$work/symbols.txt" > "$work/bin/nm"
chmod +x "$work/bin/nm"

input_mb=$(awk -v s="$(stat -c %s "$work/perf.data")" 'BEGIN { printf "%.1f", s / 1048576 }')
cd "$work"
PATH="$work/bin:$PATH" ZELCONV_SYSROOT="$work/root" /usr/bin/time -f '%e %M' -o time.txt \
  "$OLDPWD/$build/zelconv" -i perf.data -o perf.json -p "$work/sym" -b 0.5
read -r seconds peak_kb < time.txt
output_mb=$(awk -v s="$(stat -c %s perf.json)" 'BEGIN { printf "%.1f", s / 1048576 }')
echo "input ${input_mb} MB, output ${output_mb} MB"
echo "wall ${seconds} s, peak $((peak_kb / 1024)) MB, $(awk -v m="$input_mb" -v s="$seconds" 'BEGIN { printf "%.1f", m / s }') MB/s of input"
