#include "ReadStream.h"

#include <algorithm>
#include <iterator>

#include "../component/AvPicture.h"
#include "../component/ParameterSets.h"
#include "AvDecoder.h"

namespace lx2::example {

namespace {

// Of these all decoders make the same pictures.
bool IsExact(AVCodecID codec) {
    constexpr AVCodecID kExact[] = {AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_VP8,
                                    AV_CODEC_ID_VP9, AV_CODEC_ID_AV1};
    return std::find(std::begin(kExact), std::end(kExact), codec) != std::end(kExact);
}

// Tells the units whose picture it is what the decoder shows.
void AddPictures(AvDecoder* decoder, std::vector<host::TestStream::Unit>* units) {
    while (const Picture frame = decoder->next()) {
        if (frame->format != AV_PIX_FMT_YUV420P && frame->format != AV_PIX_FMT_YUV420P10LE)
            continue;
        const host::PictureView picture = ViewOf(*frame);
        for (auto& unit : *units) {
            if (unit.config || static_cast<int64_t>(unit.timestamp) != frame->pts)
                continue;
            unit.checksum = host::ChecksumOf(picture);
            unit.bitDepth = picture.bitDepth;
        }
    }
}

}  // namespace

std::optional<host::TestStream> ReadStream(const std::string& path, size_t most,
                                           std::string* error) {
    const auto input = Input::Open(path, error);
    if (input == nullptr)
        return std::nullopt;
    host::TestStream stream;
    stream.mediaType = input->mediaType();
    const auto decoder = IsExact(input->codec().codec_id) ? AvDecoder::Open(*input) : nullptr;
    while (stream.units.size() < most) {
        const Packet packet = input->read();
        if (packet == nullptr)
            break;
        const auto size = static_cast<uint32_t>(packet->size);
        const uint32_t config =
            stream.units.empty() ? ParameterSetSize(stream.mediaType, packet->data, size) : 0;
        const auto time = static_cast<uint64_t>(packet->pts);
        if (config > 0)
            stream.units.push_back({{packet->data, packet->data + config}, true, false, time});
        stream.units.push_back({{packet->data + config, packet->data + size},
                                false,
                                (packet->flags & AV_PKT_FLAG_KEY) != 0,
                                time});
        if (decoder != nullptr) {
            decoder->send(packet.get());
            AddPictures(decoder.get(), &stream.units);
        }
    }
    if (decoder != nullptr) {
        decoder->send(nullptr);
        AddPictures(decoder.get(), &stream.units);
    }
    return stream;
}

}  // namespace lx2::example
