#include "InputStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "../common/AnnexB.h"
#include "../common/Ivf.h"
#include "../common/ReadFile.h"

namespace lx2::example {

namespace {

struct CodecRow {
    Codec codec;
    const char* mime;
    const char* extension;
};

constexpr CodecRow kAvc{Codec::Avc, "video/avc", "264"};
constexpr CodecRow kHevc{Codec::Hevc, "video/hevc", "265"};
constexpr CodecRow kVp8{Codec::Vp8, "video/x-vnd.on2.vp8", "ivf"};
constexpr CodecRow kVp9{Codec::Vp9, "video/x-vnd.on2.vp9", "ivf"};

// Byte streams carry no times: 25 pictures a second.
constexpr uint64_t kMicrosecondsPerUnit = 40000;

bool IsIvf(const std::string& path) {
    std::vector<uint8_t> bytes;
    return ReadFile(path, &bytes).empty() && bytes.size() >= 4 &&
           memcmp(bytes.data(), "DKIF", 4) == 0;
}

}  // namespace

std::unique_ptr<InputStream> InputStream::Open(const std::string& path, std::string* error) {
    std::unique_ptr<InputStream> stream(new InputStream);
    const std::string problem = IsIvf(path) ? stream->readIvf(path) : stream->readByteStream(path);
    if (stream->mUnits.empty()) {
        *error = path + ": " + (problem.empty() ? "nothing to decode" : problem);
        return nullptr;
    }
    stream->mDamage = problem.empty() ? "" : path + ": " + problem;
    return stream;
}

void InputStream::add(size_t offset, uint32_t size, uint64_t timestamp) {
    mUnits.push_back({mBytes.data() + offset, size, mUnits.size(), timestamp});
}

void InputStream::setCodec(const char* mime, const char* extension, Codec codec) {
    mMime = mime;
    mExtension = extension;
    mCodec = codec;
}

std::string InputStream::readIvf(const std::string& path) {
    IvfFile file;
    std::string problem = ReadIvf(path, &file);
    const bool vp9 = memcmp(file.header.fourcc, IVFStreamHeader::FourCC_VP9, 4) == 0;
    const CodecRow& row = vp9 ? kVp9 : kVp8;
    setCodec(row.mime, row.extension, row.codec);
    mBytes = std::move(file.bytes);
    for (const IvfFrame& frame : file.frames)
        add(frame.offset, frame.size,
            frame.timestamp * 1000000 * file.header.scale / std::max(file.header.rate, 1u));
    return problem;
}

std::string InputStream::readByteStream(const std::string& path) {
    ByteStream stream;
    std::string problem = ReadByteStream(path, &stream);
    const CodecRow& row = stream.codec == VideoCodec::Hevc ? kHevc : kAvc;
    setCodec(row.mime, row.extension, row.codec);
    mBytes = std::move(stream.bytes);
    for (const AccessUnit& unit : stream.accessUnits)
        add(unit.offset, unit.size, mUnits.size() * kMicrosecondsPerUnit);
    return problem;
}

uint32_t InputStream::largestUnit() const {
    uint32_t largest = 0;
    for (const InputUnit& unit : mUnits)
        largest = std::max(largest, unit.size);
    return largest;
}

}  // namespace lx2::example
