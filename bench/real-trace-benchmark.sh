#!/usr/bin/env bash
# Records the scheduler, task, interrupt and power trace-points of this
# machine with its perf while `perf bench sched messaging` runs (at least
# 200,000 events), turns the recording into the converter's layout with
# zelconv-import, and times zelconv in timechart mode beside perf script on
# the same events, side by side in one run (medians of 3).
# Where perf cannot record here, says why and ends with status 0.
# Usage: bench/real-trace-benchmark.sh [BUILD_DIR] [LOOPS]
#   ZELCONV_IMPORT: the importer to use (default BUILD_DIR/zelconv-import)
#   BENCH_RUNS: runs of each command (default 3)
#   BENCH_PERF_DATA: a recording of perf's to use instead of recording one,
#     so that two builds can be timed on the same one
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
loops=${2:-1000}
here=$(cd "$(dirname "$0")" && pwd)
source "$here/bench-lib.sh"
enter_work_dir
source "$here/../tools/trace-events.sh"
# A large buffer, so that perf keeps up with the bursts of switches.
record_or_skip "trace-points (permission, tracefs or events missing)" \
  perf record -q -m 2048 -a "${trace_events[@]}" -o perf.data -- perf bench sched messaging -l "$loops"
import_recording

recorded=$(stat -c %s perf.data)
converted=$(stat -c %s converted.data)
for ((run = 0; run < runs; run++)); do
  timed perf-script perf script -i perf.data
  timed zelconv-timechart env kern_ver=6.1 ARM64=y "$build/zelconv" -t -r -i converted.data -o trace.json
done
count=$(wc -l <perf-script.out)
echo "perf.data $(megabytes "$recorded") MB with $count events, converted $(megabytes "$converted") MB," \
     "document $(megabytes "$(stat -c %s trace.json)") MB"
if [ "$count" -lt 200000 ]; then
  echo "note: fewer than 200,000 events; give more loops"
fi
report perf-script "$recorded"
report zelconv-timechart "$converted" perf-script
