#include "HiddenFrames.h"

namespace lx2::example {

namespace {

// The index behind the frames of a VP9 superframe.
struct SuperframeIndex {
    size_t frames = 1;
    size_t sizeBytes = 0;  // of each frame's size
    size_t offset = 0;     // of the first size
};

SuperframeIndex FindIndex(const uint8_t* data, size_t size) {
    SuperframeIndex index;
    const uint8_t marker = data[size - 1];
    if ((marker & 0xE0) != 0xC0)
        return index;
    const size_t frames = (marker & 7u) + 1;
    const size_t sizeBytes = (marker >> 3 & 3u) + 1;
    const size_t indexSize = 2 + frames * sizeBytes;
    if (indexSize > size || data[size - indexSize] != marker)
        return index;
    return {frames, sizeBytes, size - indexSize + 1};
}

// Of one frame: two marker bits, two of the profile (and a third in profile 3), then whether a
// frame decoded earlier is shown, whether this one is no key frame, and whether it is shown.
bool ShowsFrame(uint8_t first) {
    const bool profile3 = (first & 0x30) == 0x30;
    const uint8_t flags = profile3 ? first : static_cast<uint8_t>(first >> 1);
    return (flags & 4) != 0 || (flags & 1) != 0;
}

}  // namespace

bool ShowsVp8(const uint8_t* data, size_t size) {
    return size > 0 && (data[0] & 0x10) != 0;
}

bool ShowsVp9(const uint8_t* data, size_t size) {
    if (size == 0)
        return false;
    const SuperframeIndex index = FindIndex(data, size);
    size_t at = 0;
    bool shows = false;
    for (size_t i = 0; i < index.frames && at < size; ++i) {
        shows = shows || ShowsFrame(data[at]);
        for (size_t byte = 0; byte < index.sizeBytes; ++byte)
            at += static_cast<size_t>(data[index.offset + i * index.sizeBytes + byte]) << 8 * byte;
    }
    return shows;
}

}  // namespace lx2::example
