#!/usr/bin/env bash
# Records two short real recordings with this machine's perf, for the tests
# that compare the converter's documents with what perf itself reads:
#
#   profile.data   perf record -g -a: samples with call chains
#   trace.data     perf record -a over the scheduler, task, interrupt and
#                  power trace-points
#
# and, beside each, perf's own reading of it (profile.dump: perf script -D;
# trace.txt: perf script with times in ns; trace.evlist: perf evlist -v).
#
#   record-real-fixtures.sh DIRECTORY
#
# Where perf is missing or cannot record one of them here (not root, no
# tracefs, events missing from the kernel), the reason goes to
# DIRECTORY/profile.skip or trace.skip and the script goes on, ending with
# status 0: the tests of that recording then skip with that reason.
set -uo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 DIRECTORY" >&2
  exit 2
fi
dir=$1
rm -rf "$dir"
mkdir -p "$dir" || exit 1

# skip KIND REASON
skip() {
  echo "$2" > "$dir/$1.skip"
  echo "skipping the real $1 recording: $2"
}

if ! command -v perf >/dev/null 2>&1; then
  skip profile "perf is not installed (Debian package linux-perf)"
  skip trace "perf is not installed (Debian package linux-perf)"
  exit 0
fi

# A second of work that starts processes, maps libraries, calls into the
# kernel and takes interrupts.
workload='sleep 0.2; for i in 1 2 3 4; do (ls -R /usr/include >/dev/null) & done; wait; sleep 0.5'

if perf record -q -g -a -o "$dir/profile.data" -- sh -c "$workload" >"$dir/profile.log" 2>&1; then
  # perf's own reading. It could record, so it must be able to read.
  perf script -D -i "$dir/profile.data" >"$dir/profile.dump" 2>"$dir/profile.err" || {
    echo "perf script -D failed on its own recording" >&2; cat "$dir/profile.err" >&2; exit 1; }
  echo "recorded $(grep -c 'PERF_RECORD_SAMPLE(' "$dir/profile.dump") profile samples in $dir"
else
  skip profile "perf could not record a call-graph profile here: $(head -c 500 "$dir/profile.log")"
fi

events=()
for event in sched:sched_switch sched:sched_wakeup sched:sched_wakeup_new task:task_newtask task:task_rename \
             irq:irq_handler_entry irq:irq_handler_exit irq:softirq_entry irq:softirq_exit \
             power:cpu_idle power:cpu_frequency; do
  events+=(-e "$event")
done
if perf record -q -a "${events[@]}" -o "$dir/trace.data" -- sh -c "$workload" >"$dir/trace.log" 2>&1; then
  perf script -i "$dir/trace.data" -F cpu,time,event,trace --ns >"$dir/trace.txt" 2>"$dir/trace.err" || {
    echo "perf script failed on its own recording" >&2; cat "$dir/trace.err" >&2; exit 1; }
  perf evlist -v -i "$dir/trace.data" >"$dir/trace.evlist" 2>>"$dir/trace.err" || {
    echo "perf evlist failed on its own recording" >&2; cat "$dir/trace.err" >&2; exit 1; }
  echo "recorded $(wc -l <"$dir/trace.txt") trace events in $dir"
else
  skip trace "perf could not record trace-points here (permission, tracefs or events missing): $(head -c 500 "$dir/trace.log")"
fi
