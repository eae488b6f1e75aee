#!/usr/bin/env bash
# The client and the decoder component against FFmpeg: samples, clips in every container, streams of
# the rarer kinds, damage, and wrong arguments.
# DecoderTest.sh <folder of samples> [<emulator>...] <lx2_client>
set -uo pipefail
samples=$1
shift
client=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit 1
failed=0

command -v ffmpeg >/dev/null || { echo "ffmpeg is not installed"; exit 77; }

check() {  # check <what> <command...>
    local what=$1
    shift
    if "$@" >why 2>&1; then
        echo "ok    $what"
    else
        failed=1
        echo "FAIL  $what"
        head -5 why
    fi
}

# Decodes into the folder d; the summary goes to d.txt, standard error to d.err.
decode() {  # decode <argument...>
    rm -rf d
    "${client[@]}" --out d "$@" >d.txt 2>d.err
}
says() { grep -qE -- "$1" d.txt || { cat d.txt d.err; return 1; }; }
says_of() { decode "${@:3}" "$1" && says "$2"; }  # <file> <words> [<argument>...]
fails_with() {  # fails_with <words> <argument...>: exit status 1, and the words in a line
    local words=$1
    shift
    decode "$@"
    [ $? -eq 1 ] && cat d.txt d.err && grep -qE -- "$words" d.txt d.err
}
# So many frames come out, and they are FFmpeg's: equals <file> <frames> [<argument>...]
equals() {
    local size visible
    says_of "$1" "^  frames shown  *$2\$" "${@:3}" || return 1
    ffmpeg -v error -y -threads 1 -strict 1 -i "$1" -fps_mode passthrough -autoscale 0 -f rawvideo \
        -pix_fmt yuv420p reference.yuv
    for file in $(sed -n 's/^  wrote *\(.*\.yuv\) .*/\1/p' d.txt); do
        read -r _ size _ _ visible <<<"$(sed -n 's/^  wrote *//p' d.txt | grep "^$file ")"
        visible=${visible:-$size}
        ffmpeg -v error -f rawvideo -pix_fmt nv12 -s "$size" -i "d/$file" -f rawvideo \
            -vf "format=yuv420p,crop=${visible/x/:}:0:0:exact=1" -
    done | cmp - reference.yuv
}

# 2141391878: the hardware's compressed NV12, which the dump converts.
check "compressed frames: FFmpeg's to the byte" equals "$samples/avc.264" 72 --set raw.pixel-format.value=2141391878
check "compressed frames: they are that" says "320x192 MIREL_NV12_CMPX 72"
check "a component that converts: YV12" decode --set raw.pixel-format.value=842094169 "$samples/avc.264"
check "a component that converts: FFmpeg's to the byte" cmp d/frames.yuv \
    <(ffmpeg -v error -strict 1 -i "$samples/avc.264" -fps_mode passthrough -vf format=yuv420p,shuffleplanes=0:2:1:3 -pix_fmt yuv420p -f rawvideo -)
for sample in avc.264=72 avc_crop.264=36 avc_resize.264=48 hevc.265=72 vp8.ivf=72 vp9.ivf=72; do
    check "${sample%=*}: frames are FFmpeg's to the byte" equals "$samples/${sample%=*}" "${sample#*=}"
    check "${sample%=*}: nothing is left open" says "^nothing is left open"
done
check "standard error is empty" test ! -s d.err
check "the platform's log is in a file" grep -q 'imported as' d/system.log
check "the last lines say how to play the frames, and that nothing is left open" \
    test "$(tail -2 d.txt | grep -cE '^  play .*-pixel_format nv12|^nothing is left open$')" -eq 2

# Ten bits lose their last two, FFmpeg dithers: near, not equal.
near() {
    local psnr
    decode "$samples/hevc10_hdr.265"
    ffmpeg -v error -y -i "$samples/hevc10_hdr.265" -f rawvideo -pix_fmt yuv420p10le reference.yuv
    psnr=$(ffmpeg -f rawvideo -pix_fmt yuv420p10le -s 320x180 -i reference.yuv \
        -f rawvideo -pix_fmt yuv420p -s 320x180 -i d/frames.yuv \
        -lavfi "[1]shuffleplanes=0:2:1:3,format=yuv420p10le[b];[0][b]psnr" -f null - 2>&1 |
        sed -n 's/.*average:\([0-9.]*\).*/\1/p')
    echo "psnr $psnr"
    [ "${psnr%.*}" -ge 48 ]
}
check "10 bit: frames are near FFmpeg's" near
check "10 bit: colors and HDR are the stream's" says \
    "PRIMARIES_BT2020 TRANSFER_ST2084 MATRIX_BT2020 RANGE_LIMITED, R\(0.68000, 0.32000\)"

# Streams of which the samples have nothing, made here.
encode() { # encode <size> <encoder> <name> [<option>...]
    local size=$1 codec=$2 name=$3
    shift 3
    ffmpeg -v error -y -f lavfi -i testsrc2=size=320x192:rate=25 -frames:v 20 -an \
        -vf "scale=${size/x/:},format=yuv420p" -c:v "$codec" -threads 1 "$@" "$name"
}
units() { # units <Perl>: edits the units of a byte stream; $_ has one, $type its first byte
    perl -0777 -ne 'for (split /(?=\x00\x00\x01)/) { $type = ord(/^\x00\x00\x01(.)/s ? $1 : "");'"$1; print }"
}

encode 176x144 libx264 clip.mp4 -bf 3
encode 176x144 libx265 clip5.mp4 -x265-params log-level=none:pools=none:frame-threads=1:bframes=3
for kind in mov mkv ts flv avi 264; do
    ffmpeg -v error -i clip.mp4 -c copy "clip.$kind"
done
for kind in mkv ts 265; do
    ffmpeg -v error -i clip5.mp4 -c copy "clip5.$kind"
done
ffmpeg -v error -i "$samples/vp8.ivf" -c copy clip8.webm
ffmpeg -v error -i "$samples/vp9.ivf" -c copy clip9.mkv
ffmpeg -v error -i clip.264 -c copy untimed.mp4 2>why  # has the times of decoding alone
ffmpeg -v error -f lavfi -i sine -i clip.mp4 -map 0 -map 1 -c:v copy -t 1 "with sound: ä%d.mkv"
for file in clip.* clip5.* "with sound: ä%d.mkv"; do
    check "$file" equals "$file" 20
done
check "clip8.webm" equals clip8.webm 72
check "clip9.mkv" equals clip9.mkv 72
check "a clip whose times are those of decoding" says_of untimed.mp4 "frames shown"
piped() { "${client[@]}" /dev/stdin <"$1" >d.txt && says "^  frames shown  *20\$"; }
check "a pipe is read" piped clip.264
check "so is one of a container" piped clip.ts

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
# The CRA picture after it discards what was not shown yet.
check "H.265 with the end of a sequence in it" equals ends.265 30

for codec in libvpx libvpx-vp9; do
    encode 175x143 $codec odd_$codec.ivf -b:v 150k -auto-alt-ref 1 -lag-in-frames 16
    check "$codec of an odd size, with hidden frames" equals odd_$codec.ivf 20
    check "$codec of an odd size: what was written is said" says "frames.yuv 176x144 nv12 of 175x143"
    encode 1x1 $codec dot_$codec.ivf
    check "$codec of one pixel" equals dot_$codec.ivf 20
done
encode 96x64 libx264 small.264 -bf 2
cat small.264 clip.264 small.264 >sizes.264
check "a size that changes, and back" equals sizes.264 60

# Damage is said in a line, and what came before it is kept.
head -c 30000 "$samples/avc.264" >cut.264
check "a stream that is cut short fails" fails_with '^error: work [0-9]+: ' cut.264
ffmpeg -v error -y -i "$samples/avc.264" -f rawvideo -pix_fmt nv12 reference.yuv
check "its first frames are kept" cmp -n $((20 * 320 * 192 * 3 / 2)) reference.yuv d/frames.yuv
head -c 40000 "$samples/vp8.ivf" >cut.ivf
check "an IVF file that is cut short" fails_with '^error: (cut.ivf|work [0-9]+): ' cut.ivf
cp "$samples/hevc.265" bad.265
head -c 3000 /dev/urandom | dd of=bad.265 bs=1 seek=25000 conv=notrunc status=none
decode bad.265
check "a corrupted stream ends with everything closed" says "^nothing is left open"

# What can't be used: one line, which names the file, and status 1.
: >empty.264
head -c 5000 /dev/zero >zero.264
mkdir folder
sed '1s/VP80/AV01/' odd_libvpx.ivf >av1.ivf
ffmpeg -v error -f lavfi -i sine -t 1 sound.wav
encode 64x64 mjpeg pictures.avi
head -c 3000 clip.mp4 >cut.mp4
encode 176x144 libx264 full.264 -vf format=yuv444p
one_line() { fails_with "$2" "$1" && [ "$(cat d.txt d.err | wc -l)" -eq 1 ]; }
check "a missing file" one_line missing.264 "missing.264: No such file"
check "an empty file" one_line empty.264 "empty.264: is empty"
check "zeros" one_line zero.264 "zero.264: "
check "a folder" one_line folder "folder: is a folder"
check "sound" one_line sound.wav "sound.wav: holds no video"
check "a codec without a component" one_line pictures.avi "pictures.avi: holds mjpeg"
check "a codec that the component refuses" one_line av1.ivf "av1.ivf: "
check "an MP4 file without its end" one_line cut.mp4 "cut.mp4: "
check "4:4:4" fails_with "^error: " full.264

"${client[@]}" --list-params >d.txt
check "parameters are listed" says "^vendor.lx2-decoder.references  *uint32"
check "parameters are set" decode --set vendor.lx2-decoder.references=2 \
    --set default.color.primaries=1 --set vendor.lx2-decoder-dump.value="$work" odd_libvpx.ivf
check "the component uses them" test -n "$(ls ./*lx2*.ivf ./*.yuv 2>/dev/null | grep -v reference)"
refused() {  # refused <argument>...
    "${client[@]}" "$@" >refused 2>&1
    [ $? -eq 2 ] && [ "$(grep -c '^lx2_client: ' refused)" -eq 1 ]
}
for arguments in --nonsense "--slots -1" "--slots abc" "--slots 0" "--slots 5000" "--slots" "--set nobody=1" \
    "--set vendor.lx2-decoder.references" "--set vendor.lx2-decoder.references=3abc" \
    "a.264 b.264" "--out $work/$(printf 'x%.0s' {1..120})"; do
    # shellcheck disable=SC2086 # several arguments
    check "refused in one line: ${arguments:0:40}" refused $arguments
done
check "--help is no mistake" "${client[@]}" --help
if [ -e /dev/full ]; then
    full() { "${client[@]}" "$samples/vp8.ivf" >/dev/full 2>d.err; [ $? -eq 1 ] && grep -q "standard output" d.err; }
    check "a full standard output is an error" full
fi
check "a library without a factory" fails_with "lx2_client: " --component /lib/ld-linux.so "$samples/avc.264"

# Files that can't be made or written, and a disk that is full.
decode_into() { "${client[@]}" --out "$@" >d.txt 2>d.err; [ $? -eq 1 ]; }
mkdir -p folders/frames.yuv small
check "files that can't be made fail the run" decode_into folders "$samples/avc.264"
check "which is told once" test "$(grep -c 'not written (72 times)' d.txt)" -eq 1
if mount -t tmpfs -o size=1m none small 2>/dev/null; then
    check "a full disk fails the run" decode_into small/out "$samples/avc.264"
    check "and is told" grep -q 'frames.yuv: holds .* of .* bytes' d.txt
    umount small
fi

# What the platform's own tests would try.
"${client[@]}" --check "$(dirname "${client[-1]}")/../lib/liblx2_decoder.so" >d.txt 2>d.err
check "the component passes the checks" test $? -eq 0
check "each has a line" test "$(grep -c ': ok$' d.txt)" -ge 15

exit $failed
