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
says_of() { decode "${1%.*}" "$1" && says "${1%.*}" "$2"; }  # <file> <words>
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
    check "$sample: no HDR is made up" silent_about "$sample" '^  color .* R\('
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

# Streams of which the samples have nothing, made here.
cd "$work" || exit 1
encode() { # encode <size> <encoder> <name> [<option>...]
    local size=$1 codec=$2 name=$3
    shift 3
    ffmpeg -v error -y -f lavfi -i testsrc2=size=320x192:rate=25 -frames:v 20 -an \
        -vf "scale=${size/x/:},format=yuv420p" -c:v "$codec" -threads 1 "$@" "$name"
}
equals() { # equals <name> <frames>: so many frames come out, and they are FFmpeg's
    local name=${1%.*} size visible
    says_of "$1" "frames shown           $2" || { cat "$name.txt"; return 1; }
    ffmpeg -v error -y -threads 1 -strict 1 -i "$1" -fps_mode passthrough -f rawvideo \
        -pix_fmt yuv420p reference.yuv
    read -r _ size _ _ visible <<<"$(sed -n 's/^  wrote *//p' "$name.txt")"
    visible=${visible:-$size}
    ffmpeg -v error -f rawvideo -pix_fmt nv12 -s "$size" -i "$name/frames.yuv" -f rawvideo \
        -vf "format=yuv420p,crop=${visible/x/:}:0:0:exact=1" - | cmp - reference.yuv
}
units() { # units <Perl>: edits the units of a byte stream; $_ has one, $type its first byte
    perl -0777 -ne 'for (split /(?=\x00\x00\x01)/) { $type = ord(/^\x00\x00\x01(.)/s ? $1 : "");'"$1; print }"
}

encode 176x144 libx264 vui.264 -profile:v main -bf 8 -x264-params b-pyramid=normal:b-adapt=0:ref=8
# shellcheck disable=SC2016 # Perl. The parameter set ends where it says that it has a VUI.
units '$type == 0x67 and do {
    sub skip { for (1 .. shift) { $rest =~ s/^(0*)1//; substr($rest, 0, length $1, "") } }
    $bits = unpack "B*", $_;
    $rest = substr $bits, 56;
    skip(5); substr($rest, 0, 1, ""); skip(2); substr($rest, 0, 3, "");
    $_ = pack "B*", substr($bits, 0, length($bits) - length $rest) . "01";
}' <vui.264 >pyramid.264
check "without a VUI: it is gone" test "$(stat -c %s pyramid.264)" -lt "$(stat -c %s vui.264)"
check "without a VUI a pyramid of B-frames loses none" equals pyramid.264 20
{ head -c 7 /dev/zero; cat pyramid.264; head -c 7 /dev/zero; } >padded.264
check "zeros around a stream are padding" equals padded.264 20
cat "$samples/avc_crop.264" pyramid.264 >open.264
check "an open sequence behind a closed one is decoded whole" says_of open.264 "frames shown           56"
check "and it is noted" says open "note: open.264: the last sequence is not closed as those before it"

encode 176x144 libx264 slices.264 -x264-params slices=3:interlaced=1:bframes=3
check "several slices a picture, interlaced" equals slices.264 20

# Two fields of one macroblock of plain samples make a frame.
field() { printf "\0\0\0\1$1"; head -c 256 /dev/zero | tr '\0' "$2"; head -c 129 /dev/zero | tr '\0' '\200'; }
{
    printf '\0\0\0\1\x67\x4d\0\x0a\xda\x64\x80\0\0\0\1\x68\xce\x38\x80'
    field '\x65\x88\x85\x21\xa0' '\040'
    field '\x61\x88\x86\x86\x80' '\100'
    field '\x61\x88\x8c\x86\x80' '\140'
    field '\x61\x88\x8e\x86\x80' '\240'
} >fields.264
check "of two fields comes one frame" equals fields.264 2

encode 176x144 libx265 gops.265 -x265-params \
    log-level=none:pools=none:frame-threads=1:open-gop=1:keyint=8:min-keyint=8:bframes=3:b-adapt=0:scenecut=0
check "H.265 with open groups of pictures" equals gops.265 20
# Its second group on, which begins with a CRA picture: of the pictures that lead it those that need
# what came before are skipped.
# shellcheck disable=SC2016
units '$groups += $type == 0x40; $_ = "" if $groups < 2' <gops.265 >cra.265
check "H.265 that begins at a CRA picture" equals cra.265 12
{ cat gops.265; printf '\0\0\0\1\x48\1'; cat cra.265; } >ends.265
check "H.265: the end of a sequence brings out all its pictures" says_of ends.265 "frames shown           32"

for codec in libvpx libvpx-vp9; do
    encode 175x143 $codec odd_$codec.ivf -b:v 150k -auto-alt-ref 1 -lag-in-frames 16
    check "$codec of an odd size, with hidden frames" equals odd_$codec.ivf 20
    check "$codec of an odd size: what was written is said" says odd_$codec "frames.yuv 176x144 nv12 of 175x143"
    encode 1x1 $codec dot_$codec.ivf
    check "$codec of one pixel" equals dot_$codec.ivf 20
done
{ head -c 32 odd_libvpx.ivf; head -c 12 /dev/zero; tail -c +33 odd_libvpx.ivf; } >empty.ivf
check "an empty IVF frame is skipped" equals empty.ivf 20
decode colors --set default-color.primaries=1 --set default-color.matrix=0 odd_libvpx.ivf
check "VP8: the defaults come first, then the stream's color" says colors "PRIMARIES_BT709 TRANSFER_170M MATRIX_BT601"
check "VP8: the stream's color is said" says colors "color in the stream    PRIMARIES_UNSPECIFIED"

encode 176x144 libx264 full.264 -vf format=yuv444p
decode full full.264
check "4:4:4 is refused in one line" test "$(grep -c '^error: ' full.txt)" -eq 1
sed '1s/VP80/AV01/' odd_libvpx.ivf >av1.ivf
decode av1 av1.ivf
check "AV1 in IVF is named" says av1 "av1.ivf: holds AV01, neither VP80 nor VP90"
cd - >/dev/null || exit 1

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
decode set --set vendor.qp-range.min=12 "$samples/avc.264"
check "parameters are set, and told by name" says set "vendor.qp-range.min: 0 -> 12"
check "the last lines say how to play the frames, and that nothing is left open" \
    test "$(tail -2 "$work/set.txt" | grep -cE '^  play .*-pixel_format nv12|^nothing is left open$')" -eq 2
check "the platform's log is in a file" grep -q 'imported as' "$work/set/system.log"
check "standard error is empty" test ! -s "$work/set.log"
long=$work/$(printf 'x%.0s' {1..120})
refused() {  # refused <argument>...
    "${decoder[@]}" "$@" >"$work/refused" 2>&1
    [ $? -eq 2 ] && [ "$(grep -vc -e '^lx2_decoder \[' -e '^Decodes' -e '^  --' "$work/refused")" -eq 1 ]
}
for arguments in --nonsense "--slots -1" "--slots abc" "--slots 0" "--slots 5000" "--slots" \
    "--set nobody=1" "--set vendor.qp-range.min" "--set vendor.qp-range.min=3abc" \
    "$samples/avc.264 $samples/vp8.ivf" "--out $long"; do
    # shellcheck disable=SC2086 # several arguments
    check "refused in one line: ${arguments:0:40}" refused $arguments
done
check "nothing is written to a path that is cut" test ! -e "$long"
check "--help is no mistake" "${decoder[@]}" --help

# Files that can't be made or written, and a disk that is full.
mkdir "$work/folders" "$work/folders/frames.yuv" "$work/folders/component.log" "$work/folders/bitstream.264"
decode_into() {  # decode_into <folder> <argument>...
    "${decoder[@]}" --out "$@" >"$work/into.txt" 2>"$work/into.log"
    [ $? -eq 1 ]
}
check "files that can't be made fail the run" decode_into "$work/folders" "$samples/avc.264"
for what in "the input is not dumped (72 times)" "not dumped (72 times)" "component.log: can't be made"; do
    check "and are told once: $what" test "$(grep -cF "$what" "$work/into.txt")" -ge 1
done
if mkdir "$work/small" && mount -t tmpfs -o size=1m none "$work/small" 2>/dev/null; then
    check "a full disk fails the run" decode_into "$work/small/out" "$samples/avc.264"
    check "and is told" grep -q 'frames.yuv holds .* of .* bytes' "$work/into.txt"
    umount "$work/small"
fi
piped() { "${decoder[@]}" /dev/stdin <"$samples/avc.264" | grep -q 'frames  *72$'; }
check "a pipe is read" piped

exit $failed
