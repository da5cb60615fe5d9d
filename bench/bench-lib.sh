# Shared by the benchmark scripts (sourced, not run): timing a command as a
# whole process, medians of several runs, and the report line.
#
# Every figure is whole-process: wall time, processor time (user and system,
# children included, which tells apart on a busy machine what the process
# did from what it waited for) and peak resident memory from /usr/bin/time,
# and throughput as megabytes of input per second of wall time.

runs=${BENCH_RUNS:-3}

# median VALUES...: the middle value, or the lower middle of an even count.
median() {
  printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'
}

# timed LABEL COMMAND...: runs the command once with its standard output and
# error in LABEL.out and LABEL.err, and appends "seconds peak_kb" to
# LABEL.times. A failing command ends the benchmark with its messages.
timed() {
  local label=$1
  shift
  if ! /usr/bin/time -f '%e %M %U %S' -o "$label.time" "$@" >"$label.out" 2>"$label.err"; then
    echo "$label failed: $*" >&2
    tail -n 20 "$label.err" >&2
    exit 1
  fi
  cat "$label.time" >>"$label.times"
}

# report LABEL INPUT_BYTES [REFERENCE_LABEL]: prints the medians of LABEL's
# runs, the input's megabytes per second, and the ratio of its wall time to
# that of REFERENCE_LABEL.
report() {
  local label=$1 bytes=$2 reference=${3:-}
  local seconds peak_kb cpu
  seconds=$(median $(awk '{ print $1 }' "$label.times"))
  peak_kb=$(median $(awk '{ print $2 }' "$label.times"))
  cpu=$(median $(awk '{ print $3 + $4 }' "$label.times"))
  local line
  line=$(awk -v b="$bytes" -v s="$seconds" -v k="$peak_kb" -v c="$cpu" -v l="$label" 'BEGIN {
    printf "%-28s wall %6.2f s  cpu %6.2f s  peak %6.0f MB (%.1fx input)  %7.1f MB/s", l, s, c, k / 1024,
           k * 1024 / b, (s > 0 ? b / 1048576 / s : 0) }')
  if [ -n "$reference" ]; then
    local base
    base=$(median $(awk '{ print $1 }' "$reference.times"))
    line+=$(awk -v s="$seconds" -v r="$base" 'BEGIN { printf "  %.2fx perf script", (r > 0 ? s / r : 0) }')
  fi
  echo "$line"
}

# megabytes BYTES
megabytes() {
  awk -v b="$1" 'BEGIN { printf "%.1f", b / 1048576 }'
}

# Makes a fresh directory, removed at the end, the current one.
enter_work_dir() {
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  cd "$work"
}

# record_or_skip WHAT PERF_RECORD_COMMAND...: perf.data, copied from
# BENCH_PERF_DATA when that is set, or recorded by the command. Where perf is
# missing or cannot record, says why and ends the benchmark with status 0.
record_or_skip() {
  local what=$1
  shift
  if ! command -v perf >/dev/null 2>&1; then
    echo "skipped: perf is not installed (Debian package linux-perf)"
    exit 0
  fi
  if [ -n "${BENCH_PERF_DATA:-}" ]; then
    cp "$BENCH_PERF_DATA" perf.data
  elif ! "$@" >record.log 2>&1; then
    echo "skipped: perf could not record $what here: $(head -c 300 record.log)"
    exit 0
  fi
}

# converted.data from perf.data, in the converter's layout, through the
# importer (ZELCONV_IMPORT, by default the build's zelconv-import).
import_recording() {
  local importer=${ZELCONV_IMPORT:-$build/zelconv-import}
  if ! "$importer" perf.data converted.data >import.log 2>&1; then
    echo "$importer could not convert the recording:" >&2
    cat import.log >&2
    exit 1
  fi
}
