#!/usr/bin/env bash
# Records short real recordings with this machine's perf, for the tests that
# import them, convert them and compare the documents with what perf itself
# reads:
#
#   profile.data       perf record -g -a: samples with call chains
#   trace.data         perf record -a over the scheduler, task, interrupt and
#                      power trace-points
#   profile-pipe.data, trace-pipe.data
#                      the same, written through a pipe (perf record -o -)
#
# and, beside each, perf's own reading of it (NAME.dump: perf script -D for
# the profiles; NAME.txt: perf script with times in ns for the traces).
#
#   record-real-fixtures.sh DIRECTORY
#
# Where perf is missing or cannot record one of them here (not root, no
# tracefs, events missing from the kernel), the reason goes to
# DIRECTORY/NAME.skip and the script goes on, ending with status 0: the tests
# of that recording then skip with that reason.
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
  for kind in profile trace profile-pipe trace-pipe; do
    skip $kind "perf is not installed (Debian package linux-perf)"
  done
  exit 0
fi

# record NAME PERF-RECORD-OPTIONS...: to NAME.data, through a pipe when NAME
# ends in -pipe; a failure leaves NAME.skip.
record() {
  local name=$1
  shift
  local status=0
  if [[ $name == *-pipe ]]; then
    perf record -q "$@" -o - -- sh -c "$workload" >"$dir/$name.data" 2>"$dir/$name.log" || status=$?
  else
    perf record -q "$@" -o "$dir/$name.data" -- sh -c "$workload" >"$dir/$name.log" 2>&1 || status=$?
  fi
  if [ $status -ne 0 ]; then
    skip "$name" "perf could not record here (permission, tracefs or events missing): $(head -c 500 "$dir/$name.log")"
    rm -f "$dir/$name.data"
    return 1
  fi
}

# A second of work that starts processes, maps libraries, calls into the
# kernel and takes interrupts.
workload='sleep 0.2; for i in 1 2 3 4; do (ls -R /usr/include >/dev/null) & done; wait; sleep 0.5'

for name in profile profile-pipe; do
  if record $name -g -a; then
    # perf's own reading. It could record, so it must be able to read.
    perf script -D -i "$dir/$name.data" >"$dir/$name.dump" 2>"$dir/$name.err" || {
      echo "perf script -D failed on its own recording" >&2; cat "$dir/$name.err" >&2; exit 1; }
    echo "recorded $(grep -c 'PERF_RECORD_SAMPLE(' "$dir/$name.dump") samples in $dir/$name.data"
  fi
done

source "$(cd "$(dirname "$0")" && pwd)/trace-events.sh"
for name in trace trace-pipe; do
  if record $name -a "${trace_events[@]}"; then
    perf script -i "$dir/$name.data" -F cpu,time,event,trace --ns >"$dir/$name.txt" 2>"$dir/$name.err" || {
      echo "perf script failed on its own recording" >&2; cat "$dir/$name.err" >&2; exit 1; }
    echo "recorded $(wc -l <"$dir/$name.txt") trace events in $dir/$name.data"
  fi
done
