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

says() { # <file> <pattern>
  if ! "${program[@]}" "$1" 2>&1 | grep -qE "$2"; then
    echo "$1: expected '$2'"
    failed=1
  fi
}

refuses "$work/missing.264" "cannot be opened"
: > "$work/empty.264"
refuses "$work/empty.264" "is empty"
mkfifo "$work/fifo"
refuses "$work/fifo" "is empty"
truncate -s 2G "$work/large.264"
refuses "$work/large.264" "is too large"
refuses "$work" "is a folder"
refuses /dev/zero "is neither a file nor a pipe"
printf '\0\0\0\x18ftypisom....stsd0123\0\0\0\1\0\0\0\x10hvc1' > "$work/clip.x.mp4"
refuses "$work/clip.x.mp4" "ffmpeg -i \"$work/clip.x.mp4\" -map 0:v:0 -c copy \"$work/clip.x.265\""
printf '\x1a\x45\xdf\xa3webm....V_VP9' > "$work/clip.webm"
refuses "$work/clip.webm" "-c copy \"$work/clip.ivf\""
refuses "$samples/vp9.ivf" "is not a byte stream"
{ printf '\0\0\0\1'; head -c 5000 "$samples/vp9.ivf"; } > "$work/garbage"
refuses "$work/garbage" "is not H.264 or H.265"
printf '\0\0\0\1\x67\x42\0\0\0\1\xff\xff\xff' > "$work/forbidden.264"
refuses "$work/forbidden.264" "no unit header at byte 6"
printf '\0\0\0\1\x67\x42\x1f\0\0\0\1\x65' > "$work/header.264"
refuses "$work/header.264" "is cut short after a unit header at byte 7"

# Cut anywhere behind their first sequence, the samples are seen to be incomplete: within the last
# picture they could be an open sequence behind a closed one, which is but noted.
for name in avc.264 hevc.265; do
  size=$(stat -c %s "$samples/$name")
  head -c $((size - 1)) "$samples/$name" > "$work/cut-1-$name"
  refuses "$work/cut-1-$name" "is cut short"
  for part in 20 47 71 99; do
    head -c $((size * part / 100)) "$samples/$name" > "$work/cut-$part-$name"
    says "$work/cut-$part-$name" "is cut short|Note: the last sequence is not closed as those before it"
  done
  { head -c 5 /dev/zero; cat "$samples/$name"; head -c 5 /dev/zero; } > "$work/padded-$name"
  says "$work/padded-$name" "Every buffer read back"
done
exit $failed
