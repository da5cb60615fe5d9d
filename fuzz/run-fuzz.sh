#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs one of them for a while.
#
#   fuzz/run-fuzz.sh TARGET SECONDS [libFuzzer options...]
#
# Targets: json_parse_fuzz, record_walk_fuzz, symbol_list_fuzz, trace_marker_fuzz, import_fuzz.
# Seeds come from fuzz/seeds/NAME/; new inputs go to fuzz/corpus-TARGET/,
# which is not tracked, and crash files to fuzz/corpus-TARGET-artifacts/.
set -euo pipefail

if [ $# -lt 2 ]; then
  echo "usage: $0 TARGET SECONDS [libFuzzer options...]" >&2
  exit 2
fi
target=$1
seconds=$2
shift 2

# Target name to seed folder name; unlisted targets use their name without
# the _fuzz suffix.
case "$target" in
  json_parse_fuzz) seeds=json ;;
  *) seeds=${target%_fuzz} ;;
esac

# Limits by target. The converter's targets keep inputs small, so that each
# run costs little and the converter's lasting tables (emptied after every
# input) stay small; the memory limit catches an input whose cost runs away.
# Their standard output is closed too: the converter reports there.
# Options given on the command line come later and win.
case "$target" in
  record_walk_fuzz) limits=(-max_len=8192 -rss_limit_mb=2048 -timeout=20 -close_fd_mask=3) ;;
  symbol_list_fuzz|trace_marker_fuzz) limits=(-max_len=4096 -rss_limit_mb=2048 -timeout=20 -close_fd_mask=3) ;;
  # Its seeds are small recordings of perf 6.1, to a file and through a pipe.
  import_fuzz) limits=(-max_len=16384 -rss_limit_mb=2048 -timeout=20) ;;
  *) limits=() ;;
esac

root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-fuzz
seed_dir=$root/fuzz/seeds/$seeds
corpus=$root/fuzz/corpus-$target
artifacts=$root/fuzz/corpus-$target-artifacts

if [ ! -d "$seed_dir" ]; then
  echo "no seed folder $seed_dir" >&2
  exit 2
fi

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DZELCONV_FUZZ=ON -DZELCONV_TESTS=OFF >/dev/null
cmake --build "$build" --target "$target" -j2

mkdir -p "$corpus" "$artifacts"
# Standard error of the target is closed (-close_fd_mask=2): the code under
# test reports syntax errors there. Sanitizer reports still come through.
exec "$build/fuzz/$target" -max_total_time="$seconds" -close_fd_mask=2 -print_final_stats=1 \
  -artifact_prefix="$artifacts/" ${limits[@]+"${limits[@]}"} "$@" "$corpus" "$seed_dir"
