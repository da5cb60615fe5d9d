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

# The importer that turns perf's own recordings into the converter's layout.
importer() {
  echo "${ZELCONV_IMPORT:-$build/zelconv-import}"
}
