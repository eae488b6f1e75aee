#!/usr/bin/env bash
# Gives lx2_bitstream files that it must refuse, each with one line that names the offence.
# check.sh <folder of the samples> [<emulator>...] <program>
set -u
samples=$1
shift
program=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

refuses() { # <file> <words of the offence>
  local said status
  said=$("${program[@]}" "$1" 2>&1 >/dev/null)
  status=$?
  if [ $status -ne 1 ] || [ "$(wc -l <<<"$said")" -ne 1 ] || [[ $said != "$1 "*"$2"* ]]; then
    echo "$1: expected '$2' and exit 1, got exit $status: $said"
    failed=1
  fi
}

refuses "$work/missing.264" "cannot be opened"
: > "$work/empty.264"
refuses "$work/empty.264" "is empty"
refuses "$samples/vp9.ivf" "is not a byte stream"
{ printf '\0\0\0\1'; head -c 5000 "$samples/vp9.ivf"; } > "$work/garbage"
refuses "$work/garbage" "is not H.264 or H.265"
printf '\0\0\0\1\x67\x42\0\0\0\1\xff\xff\xff' > "$work/forbidden.264"
refuses "$work/forbidden.264" "no unit header at byte 6"
printf '\0\0\0\1\x67\x42\x1f\0\0\0\1\x65' > "$work/header.264"
refuses "$work/header.264" "is cut short after a unit header at byte 7"

# Cut anywhere behind their first sequence, the samples are seen to be incomplete.
for name in avc.264 hevc.265; do
  size=$(stat -c %s "$samples/$name")
  for part in 20 47 71 99; do
    head -c $((size * part / 100)) "$samples/$name" > "$work/cut-$part-$name"
    refuses "$work/cut-$part-$name" "is cut short"
  done
  head -c $((size - 1)) "$samples/$name" > "$work/cut-1-$name"
  refuses "$work/cut-1-$name" "is cut short"
done
exit $failed
