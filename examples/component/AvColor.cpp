#include "AvColor.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mastering_display_metadata.h>
}

#include <cstddef>

namespace lx2::example {

namespace {

// By the numbers of H.273, which are libavcodec's. Of several with one value the first is coded.
struct Tables : C2Color {
    static constexpr primaries_t kPrimaries[] = {
        PRIMARIES_UNSPECIFIED,  PRIMARIES_BT709,       PRIMARIES_UNSPECIFIED, PRIMARIES_UNSPECIFIED,
        PRIMARIES_BT470_M,      PRIMARIES_BT601_625,   PRIMARIES_BT601_525,   PRIMARIES_BT601_525,
        PRIMARIES_GENERIC_FILM, PRIMARIES_BT2020,      PRIMARIES_UNSPECIFIED, PRIMARIES_RP431,
        PRIMARIES_EG432,        PRIMARIES_UNSPECIFIED, PRIMARIES_UNSPECIFIED, PRIMARIES_UNSPECIFIED,
        PRIMARIES_UNSPECIFIED,  PRIMARIES_UNSPECIFIED, PRIMARIES_UNSPECIFIED, PRIMARIES_UNSPECIFIED,
        PRIMARIES_UNSPECIFIED,  PRIMARIES_UNSPECIFIED, PRIMARIES_EBU3213};
    static constexpr transfer_t kTransfers[] = {
        TRANSFER_UNSPECIFIED, TRANSFER_170M,        TRANSFER_UNSPECIFIED, TRANSFER_UNSPECIFIED,
        TRANSFER_GAMMA22,     TRANSFER_GAMMA28,     TRANSFER_170M,        TRANSFER_240M,
        TRANSFER_LINEAR,      TRANSFER_UNSPECIFIED, TRANSFER_UNSPECIFIED, TRANSFER_XVYCC,
        TRANSFER_BT1361,      TRANSFER_SRGB,        TRANSFER_170M,        TRANSFER_170M,
        TRANSFER_ST2084,      TRANSFER_ST428,       TRANSFER_HLG};
    static constexpr matrix_t kMatrices[] = {
        MATRIX_UNSPECIFIED,  MATRIX_BT709,  MATRIX_UNSPECIFIED,    MATRIX_UNSPECIFIED,
        MATRIX_FCC47_73_682, MATRIX_BT601,  MATRIX_BT601,          MATRIX_240M,
        MATRIX_UNSPECIFIED,  MATRIX_BT2020, MATRIX_BT2020_CONSTANT};
    static constexpr range_t kRanges[] = {RANGE_UNSPECIFIED, RANGE_LIMITED, RANGE_FULL};
};

template <typename Value, size_t N>
Value Translate(const Value (&values)[N], int coded) {
    return coded >= 0 && static_cast<size_t>(coded) < N ? values[coded] : Value{};
}

template <typename Coded, typename Value, size_t N>
void SetCode(const Value (&values)[N], Value value, Coded unspecified, Coded* coded) {
    *coded = unspecified;
    for (size_t i = N - 1; i > 0; --i) {
        if (values[i] == value && value != Value{})
            *coded = static_cast<Coded>(i);
    }
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

template <typename Data>
const Data* SideData(const AVFrame& frame, AVFrameSideDataType type) {
    const auto* data = av_frame_get_side_data(&frame, type);
    return data == nullptr ? nullptr : reinterpret_cast<const Data*>(data->data);
}

}  // namespace

C2ColorAspectsStruct AspectsOf(const AVFrame& frame) {
    return {Translate(Tables::kRanges, frame.color_range),
            Translate(Tables::kPrimaries, frame.color_primaries),
            Translate(Tables::kTransfers, frame.color_trc),
            Translate(Tables::kMatrices, frame.colorspace)};
}

std::optional<C2HdrStaticMetadataStruct> HdrOf(const AVFrame& frame) {
    const auto* display =
        SideData<AVMasteringDisplayMetadata>(frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    const auto* light = SideData<AVContentLightMetadata>(frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
    if (display == nullptr && light == nullptr)
        return std::nullopt;
    C2HdrStaticMetadataStruct hdr{};
    if (display != nullptr && display->has_primaries != 0) {
        hdr.mastering.red = Point(display->display_primaries[0]);
        hdr.mastering.green = Point(display->display_primaries[1]);
        hdr.mastering.blue = Point(display->display_primaries[2]);
        hdr.mastering.white = Point(display->white_point);
    }
    if (display != nullptr && display->has_luminance != 0) {
        hdr.mastering.maxLuminance = Number(display->max_luminance);
        hdr.mastering.minLuminance = Number(display->min_luminance);
    }
    if (light != nullptr) {
        hdr.maxCll = static_cast<float>(light->MaxCLL);
        hdr.maxFall = static_cast<float>(light->MaxFALL);
    }
    return hdr;
}

void SetAspects(const C2ColorAspectsStruct& aspects, AVCodecContext* context) {
    SetCode(Tables::kRanges, aspects.range, AVCOL_RANGE_UNSPECIFIED, &context->color_range);
    SetCode(Tables::kPrimaries, aspects.primaries, AVCOL_PRI_UNSPECIFIED,
            &context->color_primaries);
    SetCode(Tables::kTransfers, aspects.transfer, AVCOL_TRC_UNSPECIFIED, &context->color_trc);
    SetCode(Tables::kMatrices, aspects.matrix, AVCOL_SPC_UNSPECIFIED, &context->colorspace);
}

}  // namespace lx2::example
