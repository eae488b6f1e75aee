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
    bool keyFrame;      // decoding can start here
    bool endsSequence;  // by an end-of-sequence unit
    bool skipped;       // shows nothing: has no picture, or one that needs what came before a
                        // picture that opens a sequence
    std::vector<NalUnit> units;
};

struct ByteStream {
    VideoCodec codec = VideoCodec::Avc;
    std::vector<uint8_t> bytes;  // the stream, and one byte that the scanner may read behind it
    uint32_t size = 0;           // of the stream
    uint32_t widened = 0;        // start codes that the file had in three bytes and we in four
    std::vector<AccessUnit> accessUnits;
    std::string note;  // what looks as if the stream were cut short, yet need not be so
};

// Cuts a stream. The library's scanner splits at four-byte start codes alone, so those of three
// bytes are widened first. Zeros before the first start code and behind the last unit are dropped.
// The codec is told from the parameter sets, or else from the name in path.
//
// Returns what is wrong with the stream in a few words, or an empty string. What could be cut lies
// in *stream all the same. A stream passes for cut short if its last unit ends within its header or
// leaves an access unit without a picture; if it is no end-of-sequence unit although each earlier
// sequence was closed by one, that is noted. A cut within the last picture of a stream that does
// not close its sequences cannot be seen without decoding it.
std::string CutByteStream(std::vector<uint8_t> file, const std::string& path, ByteStream* stream);

// The same for a file.
std::string ReadByteStream(const std::string& path, ByteStream* stream);

}  // namespace lx2::example
