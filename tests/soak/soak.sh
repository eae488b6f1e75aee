#!/usr/bin/env bash
# The decoder component over a long stream, with too few buffers, a blit and a display-metadata library
# that fail now and then, and a disk that fills up: every frame reaches the framework, nothing is left
# open, and memory stays flat.
# soak.sh <lx2_client> <folder of the flaky libraries> <folder of the real ones> [frames]
set -uo pipefail
client=$1
flaky=$2
real=$3
frames=${4:-10000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed"; exit 77; }

ffmpeg -v error -f lavfi -i testsrc2=size=96x64:rate=25 -frames:v "$frames" -c:v libx264 \
    -preset ultrafast -g 100 -x264-params slices=1 -bsf:v h264_mp4toannexb -f h264 "$work/long.264"

# A file may grow to 16 MiB: the frames fill that after a quarter of the stream.
trap '' XFSZ
(
    ulimit -f $((16 * 1024))
    LD_LIBRARY_PATH=$flaky:$real "$client" --slots 4 --out "$work/out" "$work/long.264" \
        >"$work/summary.txt" 2>"$work/log.txt"
)
cat "$work/summary.txt"
echo "warnings and errors in the log: $(grep -cE '^[WE]/' "$work/log.txt")"
ls -l "$work/out" | sed -n 's/^.* \([0-9]*\) [A-Z].* \([^ ]*\)$/\2: \1 bytes/p'

failed=0
expect() {  # expect <what> <command...>
    local what=$1
    shift
    "$@" || { failed=1; echo "FAIL  $what"; }
}
value() { sed -n "s/^  $1 *\([0-9]*\)$/\1/p" "$work/summary.txt"; }
expect "every frame was decoded" test "$(value frames)" = "$frames"
expect "every frame reached the framework" test "$(value 'frames shown')" = "$frames"
expect "fetches failed now and then" test "$(value 'waits for a buffer')" -gt 0
expect "conversions failed now and then" test "$(value conversions)" -lt "$frames"
expect "the frame file stopped growing" test "$(stat -c %s "$work/out/frames.yuv")" -le $((16 << 20))
expect "nothing is left open" grep -q "nothing is left open" "$work/summary.txt"
first=$(value 'KiB at frame 1000')
last=$(value 'KiB at the end')
expect "memory is flat ($first KiB, then $last KiB)" test "$last" -le $((first + first / 20 + 1024))
[ $failed -eq 0 ] && echo "soak: all good"
exit $failed
