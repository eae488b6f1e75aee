#!/usr/bin/env bash
# The decoder component against FFmpeg, on the samples and on damaged ones.
# DecoderTest.sh <folder of samples> [<emulator>...] <lx2_decoder>
set -uo pipefail
samples=$1
shift
decoder=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed"; exit 77; }

check() {  # check <what> <command...>
    local what=$1
    shift
    if "$@" >"$work/why" 2>&1; then
        echo "ok    $what"
    else
        failed=1
        echo "FAIL  $what"
        head -5 "$work/why"
    fi
}

# Runs the component into $work/<name>; its summary goes to $work/<name>.txt, the log to .log.
decode() {  # decode <name> <argument...>
    local name=$1
    shift
    rm -rf "${work:?}/$name"
    "${decoder[@]}" --out "$work/$name" "$@" >"$work/$name.txt" 2>"$work/$name.log"
}
says() { grep -qF -- "$2" "$work/$1.txt" "$work/$1.log"; }
silent_about() { ! grep -qE -- "$2" "$work/$1.txt"; }
md5() { ffmpeg -v error -i "$1" -f md5 -; }
same_pictures() { [ "$(md5 "$1")" = "$(md5 "$2")" ]; }

for sample in avc.264 avc_crop.264 hevc.265 vp8.ivf vp9.ivf; do
    check "$sample decodes" decode "$sample" "$samples/$sample"
    ffmpeg -v error -y -i "$samples/$sample" -f rawvideo -pix_fmt nv12 "$work/reference.yuv"
    check "$sample: frames are FFmpeg's to the byte" cmp "$work/reference.yuv" "$work/$sample/frames.yuv"
    check "$sample: the dumped stream has the same pictures" \
        same_pictures "$samples/$sample" "$work/$sample/bitstream.${sample##*.}"
    check "$sample: buffers were recycled" silent_about "$sample" 'recycled +0$'
    check "$sample: nothing is left open" says "$sample" "nothing is left open"
    check "$sample: the log has a line for each frame" \
        test "$(grep -c ' : out Gfx{' "$work/$sample/component.log")" -eq \
        "$(sed -n 's/^  frames  *\([0-9]*\)$/\1/p' "$work/$sample.txt")"
done

# Ten bits lose their last two, FFmpeg dithers: near, not equal.
near() {
    local psnr
    ffmpeg -v error -y -i "$samples/hevc10_hdr.265" -f rawvideo -pix_fmt yuv420p10le "$work/reference.yuv"
    psnr=$(ffmpeg -f rawvideo -pix_fmt yuv420p10le -s 320x180 -i "$work/reference.yuv" \
        -f rawvideo -pix_fmt yuv420p -s 320x180 -i "$work/hdr/frames.yuv" \
        -lavfi "[1]shuffleplanes=0:2:1:3,format=yuv420p10le[b];[0][b]psnr" -f null - 2>&1 |
        sed -n 's/.*average:\([0-9.]*\).*/\1/p')
    echo "psnr $psnr"
    [ "${psnr%.*}" -ge 48 ]
}
check "10 bit decodes" decode hdr "$samples/hevc10_hdr.265"
check "10 bit: frames are near FFmpeg's" near
check "10 bit: colors and HDR are the stream's" says hdr \
    "PRIMARIES_BT2020 TRANSFER_ST2084 MATRIX_BT2020 RANGE_LIMITED, R(0.68000, 0.32000)"

check "a change of size decodes" decode resize "$samples/avc_resize.264"
cat "$work/resize/frames.yuv" "$work/resize/frames_2.yuv" >"$work/both.yuv"
ffmpeg -v error -y -i "$samples/avc_resize.264" -autoscale 0 -f rawvideo -pix_fmt nv12 \
    "$work/reference.yuv"
check "a change of size: both files together are FFmpeg's frames" cmp "$work/reference.yuv" "$work/both.yuv"

# Damage is said in a line, and what came before it is kept.
head -c 30000 "$samples/avc.264" >"$work/cut.264"
decode cut "$work/cut.264"
check "a stream that is cut short fails" test $? -eq 1
check "a stream that is cut short is named" grep -q '^error: ' "$work/cut.txt"
ffmpeg -v error -y -i "$samples/avc.264" -f rawvideo -pix_fmt nv12 "$work/reference.yuv"
kept=$((20 * 320 * 192 * 3 / 2))
check "its first frames are kept" cmp -n $kept "$work/reference.yuv" "$work/cut/frames.yuv"
head -c 40000 "$samples/vp8.ivf" >"$work/cut.ivf"
decode cutivf "$work/cut.ivf"
check "an IVF file that is cut short fails, in a line" says cutivf "error: $work/cut.ivf: "
cp "$samples/hevc.265" "$work/bad.265"
head -c 3000 /dev/urandom | dd of="$work/bad.265" bs=1 seek=25000 conv=notrunc status=none
decode bad "$work/bad.265"
check "a corrupted stream ends with everything closed" says bad "nothing is left open"
: >"$work/empty.264"
head -c 5000 /dev/zero >"$work/zero.264"
for file in missing.264 empty.264 zero.264; do
    decode none "$work/$file"
    check "$file fails" test $? -eq 1
    check "$file is named in one line" test "$(wc -l <"$work/none.log")" -eq 1
done

"${decoder[@]}" --params >"$work/params.txt" 2>"$work/params.log"
check "parameters are listed" says params vendor.qp-range.min
decode set --set vendor.qp-range.min=12 --set nobody=1 --set vendor.qp-range.max=x "$samples/avc.264"
check "parameters are set, and refusals said, by name" \
    test "$(grep -cE 'vendor.qp-range.min|nobody|vendor.qp-range.max' "$work/set.txt")" -eq 3
"${decoder[@]}" --nonsense >/dev/null 2>&1
check "an unknown option is refused" test $? -eq 2

exit $failed
