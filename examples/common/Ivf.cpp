#include "Ivf.h"

#include <cstring>
#include <utility>

namespace lx2::example {

// The library takes any 32 bytes for a stream header; whether they are one is for us to see.
bool IsIvf(const std::vector<uint8_t>& bytes) {
    return bytes.size() >= 4 && memcmp(bytes.data(), "DKIF", 4) == 0;
}

std::string ReadIvf(std::vector<uint8_t> content, IvfFile* file) {
    file->bytes = std::move(content);
    const std::vector<uint8_t>& bytes = file->bytes;
    if (!IsIvf(bytes))
        return "is not an IVF file";
    if (bytes.size() < sizeof(IVFStreamHeader))
        return "is cut short in the stream header";
    file->header = *IVFStreamHeader::FromBytes(bytes.size(), bytes.data());
    file->frames.clear();
    for (size_t at = sizeof(IVFStreamHeader); at < bytes.size();) {
        if (bytes.size() - at < sizeof(IVFFrameHeader))
            return "is cut short in a frame header at byte " + std::to_string(at);
        const auto frame = IVFFrameHeader::FromBytes(bytes.size() - at, bytes.data() + at);
        at += sizeof(IVFFrameHeader);
        if (frame->frameSize > bytes.size() - at)
            return "is cut short in the frame at byte " + std::to_string(at);
        file->frames.push_back({at, frame->frameSize, frame->timestamp});
        at += frame->frameSize;
    }
    return file->frames.empty() ? "holds no frame" : "";
}

}  // namespace lx2::example
