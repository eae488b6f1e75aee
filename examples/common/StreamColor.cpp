#include "StreamColor.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/pixfmt.h>
}

#include <cstddef>
#include <optional>

namespace lx2::example {

namespace {

template <typename Value>
struct ColorRow {
    int coded;  // as H.273 numbers it
    Value value;
};

constexpr ColorRow<C2Color::primaries_t> kPrimaries[] = {
    {AVCOL_PRI_BT709, C2Color::PRIMARIES_BT709},
    {AVCOL_PRI_BT470M, C2Color::PRIMARIES_BT470_M},
    {AVCOL_PRI_BT470BG, C2Color::PRIMARIES_BT601_625},
    {AVCOL_PRI_SMPTE170M, C2Color::PRIMARIES_BT601_525},
    {AVCOL_PRI_SMPTE240M, C2Color::PRIMARIES_BT601_525},
    {AVCOL_PRI_FILM, C2Color::PRIMARIES_GENERIC_FILM},
    {AVCOL_PRI_BT2020, C2Color::PRIMARIES_BT2020},
    {AVCOL_PRI_SMPTE431, C2Color::PRIMARIES_RP431},
    {AVCOL_PRI_SMPTE432, C2Color::PRIMARIES_EG432},
    {AVCOL_PRI_EBU3213, C2Color::PRIMARIES_EBU3213},
};
constexpr ColorRow<C2Color::transfer_t> kTransfers[] = {
    {AVCOL_TRC_BT709, C2Color::TRANSFER_170M},
    {AVCOL_TRC_GAMMA22, C2Color::TRANSFER_GAMMA22},
    {AVCOL_TRC_GAMMA28, C2Color::TRANSFER_GAMMA28},
    {AVCOL_TRC_SMPTE170M, C2Color::TRANSFER_170M},
    {AVCOL_TRC_SMPTE240M, C2Color::TRANSFER_240M},
    {AVCOL_TRC_LINEAR, C2Color::TRANSFER_LINEAR},
    {AVCOL_TRC_IEC61966_2_4, C2Color::TRANSFER_XVYCC},
    {AVCOL_TRC_BT1361_ECG, C2Color::TRANSFER_BT1361},
    {AVCOL_TRC_IEC61966_2_1, C2Color::TRANSFER_SRGB},
    {AVCOL_TRC_BT2020_10, C2Color::TRANSFER_170M},
    {AVCOL_TRC_BT2020_12, C2Color::TRANSFER_170M},
    {AVCOL_TRC_SMPTE2084, C2Color::TRANSFER_ST2084},
    {AVCOL_TRC_SMPTE428, C2Color::TRANSFER_ST428},
    {AVCOL_TRC_ARIB_STD_B67, C2Color::TRANSFER_HLG},
};
constexpr ColorRow<C2Color::matrix_t> kMatrices[] = {
    {AVCOL_SPC_BT709, C2Color::MATRIX_BT709},
    {AVCOL_SPC_FCC, C2Color::MATRIX_FCC47_73_682},
    {AVCOL_SPC_BT470BG, C2Color::MATRIX_BT601},
    {AVCOL_SPC_SMPTE170M, C2Color::MATRIX_BT601},
    {AVCOL_SPC_SMPTE240M, C2Color::MATRIX_240M},
    {AVCOL_SPC_BT2020_NCL, C2Color::MATRIX_BT2020},
    {AVCOL_SPC_BT2020_CL, C2Color::MATRIX_BT2020_CONSTANT},
};
constexpr ColorRow<C2Color::range_t> kRanges[] = {
    {AVCOL_RANGE_MPEG, C2Color::RANGE_LIMITED},
    {AVCOL_RANGE_JPEG, C2Color::RANGE_FULL},
};

// What a table doesn't list is unspecified.
template <typename Value, size_t N>
Value Translate(const ColorRow<Value> (&rows)[N], int coded) {
    for (const auto& row : rows) {
        if (row.coded == coded)
            return row.value;
    }
    return Value{};
}

// The first row counts: those behind it are kin.
template <typename Value, size_t N>
int Code(const ColorRow<Value> (&rows)[N], Value value, int unspecified) {
    for (const auto& row : rows) {
        if (row.value == value)
            return row.coded;
    }
    return unspecified;
}

float Number(AVRational value) {
    return value.den != 0 ? static_cast<float>(av_q2d(value)) : 0.0f;
}

C2ColorXyStruct Point(const AVRational (&xy)[2]) {
    C2ColorXyStruct point{};
    point.x = Number(xy[0]);
    point.y = Number(xy[1]);
    return point;
}

std::optional<C2HdrStaticMetadataStruct> HdrOf(const AVFrame& frame) {
    const auto* display = av_frame_get_side_data(&frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    const auto* light = av_frame_get_side_data(&frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
    if (display == nullptr && light == nullptr)
        return std::nullopt;
    C2HdrStaticMetadataStruct hdr{};
    if (display != nullptr) {
        const auto& mastering = *reinterpret_cast<const AVMasteringDisplayMetadata*>(display->data);
        if (mastering.has_primaries != 0) {
            hdr.mastering.red = Point(mastering.display_primaries[0]);
            hdr.mastering.green = Point(mastering.display_primaries[1]);
            hdr.mastering.blue = Point(mastering.display_primaries[2]);
            hdr.mastering.white = Point(mastering.white_point);
        }
        if (mastering.has_luminance != 0) {
            hdr.mastering.maxLuminance = Number(mastering.max_luminance);
            hdr.mastering.minLuminance = Number(mastering.min_luminance);
        }
    }
    if (light != nullptr) {
        const auto& level = *reinterpret_cast<const AVContentLightMetadata*>(light->data);
        hdr.maxCll = static_cast<float>(level.MaxCLL);
        hdr.maxFall = static_cast<float>(level.MaxFALL);
    }
    return hdr;
}

}  // namespace

CodedColor ColorOf(const AVFrame& frame) {
    CodedColor color;
    color.aspects.primaries = Translate(kPrimaries, frame.color_primaries);
    color.aspects.transfer = Translate(kTransfers, frame.color_trc);
    color.aspects.matrix = Translate(kMatrices, frame.colorspace);
    color.aspects.range = Translate(kRanges, frame.color_range);
    color.hdr = HdrOf(frame);
    return color;
}

void SetAspects(const C2ColorAspectsStruct& aspects, AVCodecContext* context) {
    context->color_range =
        static_cast<AVColorRange>(Code(kRanges, aspects.range, AVCOL_RANGE_UNSPECIFIED));
    context->color_primaries =
        static_cast<AVColorPrimaries>(Code(kPrimaries, aspects.primaries, AVCOL_PRI_UNSPECIFIED));
    context->color_trc = static_cast<AVColorTransferCharacteristic>(
        Code(kTransfers, aspects.transfer, AVCOL_TRC_UNSPECIFIED));
    context->colorspace =
        static_cast<AVColorSpace>(Code(kMatrices, aspects.matrix, AVCOL_SPC_UNSPECIFIED));
}

}  // namespace lx2::example
