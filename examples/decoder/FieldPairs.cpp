#include "FieldPairs.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lx2::example {

namespace {

bool IsField(int structure) {
    return structure == AV_PICTURE_STRUCTURE_TOP_FIELD ||
           structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
}

}  // namespace

void FieldPairs::Free::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void FieldPairs::Free::operator()(AVCodecParserContext* parser) const {
    av_parser_close(parser);
}

FieldPairs::FieldPairs()
    : mContext(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264))),
      mParser(av_parser_init(AV_CODEC_ID_H264)) {
    if (mParser != nullptr)
        mParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

FieldPairs::~FieldPairs() = default;

bool FieldPairs::completes(const uint8_t* data, size_t size) {
    if (mContext == nullptr || mParser == nullptr)
        return false;
    uint8_t* unused = nullptr;
    int unusedSize = 0;
    av_parser_parse2(mParser.get(), mContext.get(), &unused, &unusedSize, data,
                     static_cast<int>(size), 0, 0, 0);
    const int field = IsField(mParser->picture_structure) ? mParser->picture_structure : 0;
    const bool second = field != 0 && mOpenField != 0 && field != mOpenField;
    mOpenField = second ? 0 : field;
    return second;
}

}  // namespace lx2::example
