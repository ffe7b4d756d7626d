#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The whole program against srec_cat: `quorvi2-cli convert` of a 64K-word
# (128 KiB) INHX32 file beside `srec_cat` on the same file, run alternately;
# prints the median wall time, the mean CPU time and their ratios.
#
#   bench/convert_vs_srec_cat.sh [QUORVI2_CLI] [RUNS]
#
# QUORVI2_CLI defaults to build/bin/quorvi2-cli, RUNS to 31. Needs srec_cat
# (srecord). Not a ctest test: the load of the machine decides the figures,
# so quote them with the `uptime` line the script prints. Our save is atomic
# and durable (temporary file, fsync, rename, fsync of the folder); srec_cat
# writes its file in place without fsync. The third line, our convert to
# standard output, shows what the durable save costs.
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
cli="$(realpath "${1:-build/bin/quorvi2-cli}")"
runs="${2:-31}"
command -v srec_cat >/dev/null || { echo "srec_cat is missing (Debian package srecord)" >&2; exit 2; }
[[ -x "$cli" ]] || { echo "no quorvi2-cli at $cli" >&2; exit 2; }

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cd "$work"

# The shipped catalogue has no 18F of 64K words: the 18F8720 (128 KiB of
# flash, DS39609) is added beside the 18F452 it resembles.
mkdir home
cp "$here/../data/device.ini" home/device.ini
grep '^PIC18F452 ' home/device.ini |
  sed 's/^PIC18F452 /PIC18F8720/; s/3FFF    0100/FFFF    0400/; s/      40 /      80 /' >>home/device.ini

head -c 131072 /dev/urandom >program.bin
srec_cat program.bin -binary -o in.hex -intel -address-length=4 -output_block_size=16

quorvi=("$cli" --home home --device 18F8720 --no --quiet-progress convert in.hex quorvi.hex)
srec=(srec_cat in.hex -intel -o srec.hex -intel -address-length=4 -output_block_size=16)

# Once each before timing: the first run writes the settings file.
"${quorvi[@]}" >/dev/null 2>&1
"${srec[@]}"
srec_cmp in.hex -intel quorvi.hex -intel -crop 0 0x20000 ||
  { echo "quorvi2-cli's program memory differs from the input" >&2; exit 1; }

# One run, appended to LOG.wall (microseconds) and LOG.cpu (user and system
# seconds); no subshell, so that only the program itself is timed.
TIMEFORMAT='%3U %3S'
timed() {
  local log=$1 start end
  shift
  start=$EPOCHREALTIME
  { time "$@" >/dev/null 2>&1; } 2>>"$log.cpu"
  end=$EPOCHREALTIME
  echo $((${end/./} - ${start/./})) >>"$log.wall"
  # Untimed: what a run left for the disk to do is flushed here, so that the
  # next program's timing holds only its own work. Unflushed, our fsync
  # would also commit srec_cat's truncation from the run before.
  sync -f .
}
stdout_run() { "$cli" --home home --device 18F8720 --no --quiet-progress convert in.hex - >quorvi-stdout.hex; }

for ((i = 0; i < runs; i++)); do
  # Alternate who goes first, so that neither always finds a warm cache.
  if ((i % 2 == 0)); then
    timed quorvi "${quorvi[@]}"; timed srec "${srec[@]}"
  else
    timed srec "${srec[@]}"; timed quorvi "${quorvi[@]}"
  fi
  timed stdout stdout_run
done

median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
wall() { median <"$1.wall"; }
# The shell gives CPU time in whole ms: its mean is the finer figure.
cpu() { awk '{ sum += ($1 + $2) * 1000 } END { print sum / NR }' "$1.cpu"; }

echo "load: $(uptime)"
echo "$runs runs each; 131072 bytes of program in $(stat -c %s in.hex) bytes of HEX"
qw=$(wall quorvi); sw=$(wall srec); ow=$(wall stdout)
qc=$(cpu quorvi); sc=$(cpu srec); oc=$(cpu stdout)
awk -v qw="$qw" -v sw="$sw" -v ow="$ow" -v qc="$qc" -v sc="$sc" -v oc="$oc" 'BEGIN {
  printf "%-40s %15s %12s\n", "", "wall ms, median", "CPU ms, mean"
  printf "%-40s %15.2f %12.1f\n", "quorvi2-cli convert to a file", qw / 1000, qc
  printf "%-40s %15.2f %12.1f\n", "srec_cat to a file", sw / 1000, sc
  printf "%-40s %15.2f %12.1f\n", "quorvi2-cli convert to standard output", ow / 1000, oc
  printf "srec_cat / quorvi2-cli: %.2fx wall, %.2fx CPU (to standard output: %.2fx wall)\n",
         sw / qw, (qc > 0 ? sc / qc : 0), sw / ow
}'
