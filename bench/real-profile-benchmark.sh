#!/usr/bin/env bash
# Records a call-graph profile of this whole machine with its perf
# (perf record -g -a -F 10000 for 20 s), turns it into the converter's layout
# with zelconv-import, and times zelconv beside perf script on the same
# samples, side by side in one run (medians of 3): with the nm installed
# here, with a plain binutils nm that loads no linker plugins, and with an
# nm that prints nothing, which leaves the converter's own work.
# Where perf cannot record here, says why and ends with status 0.
# Usage: bench/real-profile-benchmark.sh [BUILD_DIR] [SECONDS]
#   ZELCONV_IMPORT: the importer to use (default BUILD_DIR/zelconv-import)
#   BENCH_RUNS: runs of each command (default 3)
#   BENCH_PERF_DATA: a recording of perf's to use instead of recording one,
#     so that two builds can be timed on the same one
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
duration=${2:-20}
here=$(cd "$(dirname "$0")" && pwd)
source "$here/bench-lib.sh"
enter_work_dir
record_or_skip "a call-graph profile" perf record -q -g -a -F 10000 -o perf.data -- sleep "$duration"
import_recording

real_nm=$(command -v nm || echo /usr/bin/nm)
mkdir -p plain-nm silent-nm
printf '#!/bin/sh\nexec %s --plugin /dev/null "$@"\n' "$real_nm" >plain-nm/nm
printf '#!/bin/sh\nexit 0\n' >silent-nm/nm
chmod +x plain-nm/nm silent-nm/nm

recorded=$(stat -c %s perf.data)
converted=$(stat -c %s converted.data)
echo "perf.data $(megabytes "$recorded") MB, converted $(megabytes "$converted") MB"
for ((run = 0; run < runs; run++)); do
  timed perf-script perf script -i perf.data
  timed zelconv-installed-nm "$build/zelconv" -i converted.data -o installed.json
  timed zelconv-plain-nm env PATH="$work/plain-nm:$PATH" "$build/zelconv" -i converted.data -o plain.json
  timed zelconv-silent-nm env PATH="$work/silent-nm:$PATH" "$build/zelconv" -i converted.data -o silent.json
done
echo "document $(megabytes "$(stat -c %s installed.json)") MB"
report perf-script "$recorded"
report zelconv-installed-nm "$converted" perf-script
report zelconv-plain-nm "$converted" perf-script
report zelconv-silent-nm "$converted" perf-script
