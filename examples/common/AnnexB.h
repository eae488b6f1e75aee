// Reads raw H.264 and H.265 streams and cuts them into access units, as an extractor does before it
// hands them to a component.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

enum class VideoCodec { Avc, Hevc };

const char* CodecName(VideoCodec codec);
const char* NalTypeName(VideoCodec codec, uint16_t type);

struct NalUnit {
    size_t offset;  // of its start code in the stream
    uint32_t size;  // with its start code
    uint16_t type;
};

// One picture with what belongs to it.
struct AccessUnit {
    size_t offset;
    uint32_t size;
    bool keyFrame;  // decoding can start here
    std::vector<NalUnit> units;
};

struct ByteStream {
    VideoCodec codec;
    std::vector<uint8_t> bytes;  // the stream, and one byte that the scanner may read behind it
    uint32_t size;               // of the stream
    uint32_t widened;            // start codes that the file had in three bytes and we in four
    std::vector<AccessUnit> accessUnits;
};

// Reads and cuts a file. The library's scanner splits at four-byte start codes alone, so those of
// three bytes are widened first. The codec is told from the parameter sets, or else from the name.
//
// Returns what is wrong with the file in a few words, or an empty string. A stream passes for cut
// short if its last unit
// - ends within its header, or in a zero byte: a unit ends with a stop bit, so never in a zero, and
// a
//   start code that is cut leaves nothing but zeros,
// - leaves an access unit without a picture, or
// - is no end-of-sequence unit although each earlier sequence was closed by one.
// A cut within the last picture of a stream that does not close its sequences cannot be seen
// without decoding it.
std::string ReadByteStream(const std::string& path, ByteStream* stream);

}  // namespace lx2::example
