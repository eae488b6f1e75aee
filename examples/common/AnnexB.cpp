#include "AnnexB.h"

#include <lx2/LX2StreamParser.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "Container.h"
#include "ReadFile.h"

namespace lx2::example {

namespace {

// What cutting a stream needs to know of a codec.
struct CodecRules {
    const char* name;
    const char* extensions;  // each between blanks
    uint32_t headerSize;     // of a unit, bytes
    LX2Status (*findNAL)(const uint8_t*, uint32_t, uint32_t*, uint16_t*, uint16_t*);
    const char* (*typeName)(uint16_t);
    bool (*isPicture)(uint16_t);        // a slice
    bool (*isKey)(uint16_t);            // a slice of a picture at which decoding can start
    bool (*opensSequence)(uint16_t);    // a slice of a picture that refers to nothing before it
    bool (*opensAccessUnit)(uint16_t);  // a unit that, after a picture, belongs to the next
    bool (*closesSequence)(uint16_t);
};

bool Between(uint16_t type, uint16_t low, uint16_t high) {
    return type >= low && type <= high;
}

constexpr CodecRules kRules[] = {
    {"H.264", " 264 h264 avc jsv ", 1, LX2AVCStreamParser::FindNAL, LX2AVCStreamParser::NalTypeStr,
     [](uint16_t type) { return Between(type, 1, 5); }, [](uint16_t type) { return type == 5; },
     [](uint16_t type) { return type == 5; },
     [](uint16_t type) { return Between(type, 6, 9) || Between(type, 14, 18); },
     [](uint16_t type) { return Between(type, 10, 11); }},
    {"H.265", " 265 h265 hevc ", 2, LX2HEVCStreamParser::FindNAL, LX2HEVCStreamParser::NalTypeStr,
     [](uint16_t type) { return Between(type, 0, 31); },
     [](uint16_t type) { return Between(type, 16, 23); },
     [](uint16_t type) { return Between(type, 19, 20); },
     [](uint16_t type) {
         return Between(type, 32, 35) || type == 39 || Between(type, 41, 44) ||
                Between(type, 48, 55);
     },
     [](uint16_t type) { return Between(type, 36, 37); }},
};

const CodecRules& RulesOf(VideoCodec codec) {
    return kRules[static_cast<int>(codec)];
}

std::string At(size_t offset) {
    return " at byte " + std::to_string(offset);
}

// Whether a three-byte start code lies at p.
bool IsShortCode(const std::vector<uint8_t>& bytes, size_t p) {
    return p + 3 <= bytes.size() && bytes[p] == 0 && bytes[p + 1] == 0 && bytes[p + 2] == 1;
}

std::optional<VideoCodec> CodecOf(const std::vector<uint8_t>& bytes, const std::string& path) {
    for (size_t p = 0; p + 5 <= bytes.size(); ++p) {
        if (!IsShortCode(bytes, p))
            continue;
        const uint8_t first = bytes[p + 3], second = bytes[p + 4];
        if ((first & 0x9F) == 7 && first != 7)  // an SPS, which is always a reference
            return VideoCodec::Avc;
        const bool baseLayer = (first & 0x81) == 0 && (second & 0xF8) == 0 && (second & 7) != 0;
        if (baseLayer && Between(first >> 1, 32, 34))  // a VPS, SPS or PPS
            return VideoCodec::Hevc;
    }
    const std::string extension = " " + path.substr(path.rfind('.') + 1) + " ";
    for (VideoCodec codec : {VideoCodec::Avc, VideoCodec::Hevc}) {
        if (std::string(RulesOf(codec).extensions).find(extension) != std::string::npos)
            return codec;
    }
    return std::nullopt;
}

// Drops the zeros that may lie before the first start code and behind the last unit. False if the
// stream does not begin with a start code.
bool Trim(std::vector<uint8_t>* file) {
    const auto nonZero = [](uint8_t byte) { return byte != 0; };
    const auto first = std::find_if(file->begin(), file->end(), nonZero);
    if (first - file->begin() < 2 || first == file->end() || *first != 1)
        return false;
    file->erase(std::find_if(file->rbegin(), file->rend(), nonZero).base(), file->end());
    file->erase(file->begin(), first - std::min<ptrdiff_t>(first - file->begin(), 3));
    return true;
}

// The stream with four-byte start codes only, and one byte behind it.
void Widen(const std::vector<uint8_t>& file, ByteStream* stream) {
    stream->bytes.clear();
    stream->bytes.reserve(file.size() + file.size() / 64 + 1);
    stream->widened = 0;
    for (size_t p = 0; p < file.size(); ++p) {
        if (IsShortCode(file, p) && (p == 0 || file[p - 1] != 0)) {
            stream->bytes.push_back(0);
            ++stream->widened;
        }
        stream->bytes.push_back(file[p]);
    }
    stream->size = static_cast<uint32_t>(stream->bytes.size());
    stream->bytes.push_back(0);
}

// What is wrong with a unit's header, or empty.
std::string HeaderFault(const ByteStream& stream, const NalUnit& unit) {
    const uint32_t headerSize = RulesOf(stream.codec).headerSize;
    const uint8_t* header = stream.bytes.data() + unit.offset + 4;
    if (unit.size < 4 + headerSize)
        return "is cut short in a unit header" + At(unit.offset);
    if ((header[0] & 0x80) != 0 || (headerSize == 2 && (header[1] & 7) == 0))
        return "is not a byte stream: no unit header" + At(unit.offset);
    return "";
}

// Lists the units of a stream, all of them. Returns the first fault.
std::string ListUnits(const ByteStream& stream, std::vector<NalUnit>* units) {
    const CodecRules& rules = RulesOf(stream.codec);
    std::string fault;
    uint16_t type = 0, next = 0;
    for (uint32_t at = 0, size = 0; at < stream.size; at += size) {
        size = stream.size - at;
        // The scanner refuses fewer than six bytes; that unit's type it has given with the last
        // one.
        type = next;
        if (size >= 6 &&
            rules.findNAL(stream.bytes.data() + at, size, &size, &type, &next) != C2_OK)
            return "is not a byte stream" + At(at);
        units->push_back({at, size, type});
        if (fault.empty())
            fault = HeaderFault(stream, units->back());
    }
    const NalUnit& last = units->back();
    if (fault.empty() && IsShortCode(stream.bytes, stream.size - 3))
        return "is cut short after a start code";
    if (fault.empty() && last.size == 4 + rules.headerSize && !rules.closesSequence(last.type))
        return "is cut short after a unit header" + At(last.offset);
    return fault;
}

bool IsFirstSlice(const ByteStream& stream, const NalUnit& unit) {
    // Both codecs begin a slice with a field whose first bit is set for the first of a picture.
    // (Data partitions other than the first begin otherwise.)
    if (stream.codec == VideoCodec::Avc && Between(unit.type, 3, 4))
        return false;
    const uint32_t at = 4 + RulesOf(stream.codec).headerSize;
    return at < unit.size && (stream.bytes[unit.offset + at] & 0x80) != 0;
}

// Units of an enhancement layer belong to the access unit of the base layer's picture.
bool IsBaseLayer(const ByteStream& stream, const NalUnit& unit) {
    const uint8_t* header = stream.bytes.data() + unit.offset + 4;
    return stream.codec == VideoCodec::Avc || unit.size < 6 ||
           ((header[0] & 1) == 0 && header[1] >> 3 == 0);
}

// Groups units into access units; the last one may have no picture.
void Group(const std::vector<NalUnit>& units, ByteStream* stream, bool* hasPicture) {
    const CodecRules& rules = RulesOf(stream->codec);
    stream->accessUnits.clear();
    *hasPicture = false;
    for (const NalUnit& unit : units) {
        const bool base = IsBaseLayer(*stream, unit);
        const bool picture = base && rules.isPicture(unit.type);
        const bool opens =
            base && (picture ? IsFirstSlice(*stream, unit) : rules.opensAccessUnit(unit.type));
        if (stream->accessUnits.empty() || (*hasPicture && opens)) {
            stream->accessUnits.push_back({unit.offset, 0, false, false, false, {}});
            *hasPicture = false;
        }
        AccessUnit& current = stream->accessUnits.back();
        current.size += unit.size;
        current.units.push_back(unit);
        current.keyFrame = current.keyFrame || (picture && rules.isKey(unit.type));
        current.endsSequence = current.endsSequence || rules.closesSequence(unit.type);
        *hasPicture = *hasPicture || picture;
    }
}

constexpr uint16_t kNoPicture = UINT16_MAX;

// The type of the first slice of an access unit.
uint16_t PictureType(const AccessUnit& unit, const CodecRules& rules) {
    for (const NalUnit& each : unit.units) {
        if (rules.isPicture(each.type))
            return each.type;
    }
    return kNoPicture;
}

// Beside units without a picture these are leading pictures of H.265 (RASL) behind a BLA picture,
// or behind a CRA picture that is the stream's first or follows an end of sequence.
void MarkSkipped(ByteStream* stream) {
    const CodecRules& rules = RulesOf(stream->codec);
    bool begins = true, skips = false;
    for (AccessUnit& unit : stream->accessUnits) {
        const uint16_t type = PictureType(unit, rules);
        if (rules.isKey(type)) {
            skips = begins || Between(type, 16, 18);
            begins = false;
        }
        unit.skipped = type == kNoPicture || (skips && Between(type, 8, 9));
        begins = begins || unit.endsSequence;
    }
}

// Whether each sequence but the last is closed by an end-of-sequence unit, and the last is not.
bool LastSequenceIsOpen(const ByteStream& stream) {
    const CodecRules& rules = RulesOf(stream.codec);
    size_t ends = 0;
    for (size_t i = 1; i < stream.accessUnits.size(); ++i) {
        const bool opens = rules.opensSequence(PictureType(stream.accessUnits[i], rules));
        if (opens && !stream.accessUnits[i - 1].endsSequence)
            return false;
        ends += opens;
    }
    return ends > 0 && !stream.accessUnits.back().endsSequence;
}

}  // namespace

const char* CodecName(VideoCodec codec) {
    return RulesOf(codec).name;
}

const char* NalTypeName(VideoCodec codec, uint16_t type) {
    return RulesOf(codec).typeName(type);
}

std::string CutByteStream(std::vector<uint8_t> file, const std::string& path, ByteStream* stream) {
    const std::string container = DescribeContainer(file, path);
    if (!container.empty())
        return container;
    if (!Trim(&file))
        return "is not a byte stream: it does not begin with a start code";
    const std::optional<VideoCodec> codec = CodecOf(file, path);
    if (!codec)
        return "is not H.264 or H.265: neither parameter sets nor its name tell which";
    stream->codec = *codec;
    Widen(file, stream);

    std::vector<NalUnit> units;
    const std::string fault = ListUnits(*stream, &units);
    bool complete = false;
    Group(units, stream, &complete);
    MarkSkipped(stream);
    if (!fault.empty())
        return fault;
    if (!complete)
        return "is cut short: the last access unit has no picture";
    if (LastSequenceIsOpen(*stream))
        stream->note = "the last sequence is not closed as those before it";
    return "";
}

std::string ReadByteStream(const std::string& path, ByteStream* stream) {
    std::vector<uint8_t> file;
    const std::string offence = ReadFile(path, &file);
    return offence.empty() ? CutByteStream(std::move(file), path, stream) : offence;
}

}  // namespace lx2::example
