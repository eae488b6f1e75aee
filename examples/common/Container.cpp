#include "Container.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <sstream>

namespace lx2::example {

namespace {

struct CodecRow {
    const char* name;       // as the container writes it
    const char* extension;  // of a file of the stream alone
};

constexpr CodecRow kMp4Codecs[] = {
    {"avc1", "264"}, {"avc3", "264"}, {"hvc1", "265"},
    {"hev1", "265"}, {"vp08", "ivf"}, {"vp09", "ivf"},
};
constexpr CodecRow kMatroskaCodecs[] = {
    {"V_MPEG4/ISO/AVC", "264"},
    {"V_MPEGH/ISO/HEVC", "265"},
    {"V_VP8", "ivf"},
    {"V_VP9", "ivf"},
};

using Bytes = std::vector<uint8_t>;

bool LiesAt(const Bytes& bytes, size_t offset, const char* text) {
    const size_t size = strlen(text);
    return offset + size <= bytes.size() && memcmp(bytes.data() + offset, text, size) == 0;
}

size_t Find(const Bytes& bytes, size_t from, const char* text) {
    const auto at = std::search(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.end(), text,
                                text + strlen(text));
    return static_cast<size_t>(at - bytes.begin());
}

// What an MP4 file can begin with, behind the size of the box.
constexpr const char* kMp4Boxes[] = {"ftyp", "styp", "moov", "mdat", "free", "skip", "wide"};

bool IsMp4(const Bytes& bytes) {
    return std::any_of(std::begin(kMp4Boxes), std::end(kMp4Boxes),
                       [&](const char* box) { return LiesAt(bytes, 4, box); });
}

// A sample description names the codec of its track.
const char* ExtensionOfMp4(const Bytes& bytes) {
    constexpr size_t kNameOffset = 16;
    for (size_t at = Find(bytes, 0, "stsd"); at < bytes.size(); at = Find(bytes, at + 1, "stsd")) {
        for (const CodecRow& row : kMp4Codecs) {
            if (LiesAt(bytes, at + kNameOffset, row.name))
                return row.extension;
        }
    }
    return nullptr;
}

const char* ExtensionOfMatroska(const Bytes& bytes) {
    for (const CodecRow& row : kMatroskaCodecs) {
        if (Find(bytes, 0, row.name) < bytes.size())
            return row.extension;
    }
    return nullptr;
}

}  // namespace

std::string DescribeContainer(const Bytes& bytes, const std::string& path) {
    const bool mp4 = IsMp4(bytes);
    if (!mp4 && !LiesAt(bytes, 0, "\x1A\x45\xDF\xA3"))
        return "";
    const std::string what = mp4 ? "is an MP4 file" : "is a WebM or Matroska file";
    const char* extension = mp4 ? ExtensionOfMp4(bytes) : ExtensionOfMatroska(bytes);
    if (extension == nullptr)
        return what + " without an H.264, H.265, VP8 or VP9 stream";
    const std::string stem = std::filesystem::path(path).replace_extension();
    std::ostringstream text;
    text << what << "; this takes the stream out of it: ffmpeg -i " << std::quoted(path)
         << " -map 0:v:0 -c copy " << std::quoted(stem + "." + extension);
    return text.str();
}

}  // namespace lx2::example
