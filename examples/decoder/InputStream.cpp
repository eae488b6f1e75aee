#include "InputStream.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "../common/AnnexB.h"
#include "../common/Ivf.h"
#include "../common/ReadFile.h"
#include "FieldPairs.h"
#include "HiddenFrames.h"

namespace lx2::example {

namespace {

// Byte streams carry no times: 25 pictures a second.
constexpr uint64_t kMicrosecondsPerFrame = 40000;

constexpr size_t kReadBehind = 64;

std::string Printable(std::string_view fourcc) {
    std::string text(fourcc);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

}  // namespace

std::unique_ptr<InputStream> InputStream::Open(const std::string& path, std::string* error) {
    std::unique_ptr<InputStream> stream(new InputStream);
    std::vector<uint8_t> file;
    std::string problem = ReadFile(path, &file);
    if (problem.empty())
        problem = IsIvf(file) ? stream->readIvf(std::move(file))
                              : stream->readByteStream(std::move(file), path);
    if (stream->mUnits.empty()) {
        *error = path + ": " + (problem.empty() ? "nothing to decode" : problem);
        return nullptr;
    }
    stream->mDamage = problem.empty() ? "" : path + ": " + problem;
    return stream;
}

InputUnit& InputStream::add(size_t offset, uint32_t size, uint64_t timestamp, bool shown) {
    mUnits.push_back({mBytes.data() + offset, size, mUnits.size(), timestamp, shown, false});
    return mUnits.back();
}

std::string InputStream::readIvf(std::vector<uint8_t> content) {
    IvfFile file;
    std::string problem = ReadIvf(std::move(content), &file);
    const std::string_view fourcc(file.header.fourcc, sizeof(file.header.fourcc));
    const StreamKind* kind = fourcc == "VP80"   ? &KindOf(Codec::Vp8)
                             : fourcc == "VP90" ? &KindOf(Codec::Vp9)
                                                : nullptr;
    if (kind == nullptr)
        return "holds " + Printable(fourcc) + ", neither VP80 nor VP90";
    mKind = *kind;
    mBytes = std::move(file.bytes);
    const auto shows = kind->codec == Codec::Vp8 ? ShowsVp8 : ShowsVp9;
    for (const IvfFrame& frame : file.frames) {
        if (frame.size != 0)  // else the encoder dropped it
            add(frame.offset, frame.size,
                frame.timestamp * 1000000 * file.header.scale / std::max(file.header.rate, 1u),
                shows(mBytes.data() + frame.offset, frame.size));
    }
    return problem;
}

std::string InputStream::readByteStream(std::vector<uint8_t> content, const std::string& path) {
    ByteStream stream;
    std::string problem = CutByteStream(std::move(content), path, &stream);
    mKind = KindOf(stream.codec == VideoCodec::Hevc ? Codec::Hevc : Codec::Avc);
    mBytes = std::move(stream.bytes);
    mNote = stream.note.empty() ? "" : path + ": " + stream.note;
    mBytes.resize(mBytes.size() + kReadBehind);
    FieldPairs pairs;
    uint64_t frames = 0;
    for (const AccessUnit& unit : stream.accessUnits) {
        const bool second = stream.codec == VideoCodec::Avc &&
                            pairs.completes(mBytes.data() + unit.offset, unit.size);
        const bool shown = !second && !unit.skipped;
        add(unit.offset, unit.size, frames * kMicrosecondsPerFrame, shown).endsSequence =
            unit.endsSequence;
        frames += shown ? 1 : 0;
    }
    return problem;
}

uint32_t InputStream::largestUnit() const {
    uint32_t largest = 0;
    for (const InputUnit& unit : mUnits)
        largest = std::max(largest, unit.size);
    return largest;
}

}  // namespace lx2::example
