// The video hardware behind the encoder, which a vendor puts in place of this one: pictures in,
// access units out.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Config.h>
#include <lx2/LX2Buffer.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lx2::example {

// What a sequence is coded with. Another value of any begins another sequence.
struct EncoderSetup {
    float rate = 0;        // frames a second
    uint32_t bitrate = 0;  // bits a second
    uint32_t qpMin = 0;
    uint32_t qpMax = 0;
    C2ColorAspectsStruct aspects;
    std::optional<C2HdrStaticMetadataStruct> hdr;
};

struct EncodedUnit {
    uint64_t unit = 0;           // as it was given
    std::vector<uint8_t> bytes;  // Annex B; a key frame's begin with the codec's configuration
    bool keyFrame = false;
};

// Used by one thread at a time.
class EncoderHardware {
  public:
    // Null for a media type that it does not encode.
    static std::unique_ptr<EncoderHardware> Open(const std::string& mediaType);
    virtual ~EncoderHardware() = default;

    // Encodes what the crop shows of a picture, padded to even dimensions. Empty, or what is wrong
    // in a few words.
    virtual std::string encode(LX2Buffer::Graphic& view, const EncoderSetup& setup, uint64_t unit,
                               bool keyFrame) = 0;

    // The next finished unit, in the order of the pictures.
    virtual std::optional<EncodedUnit> next() = 0;

    // Finishes what it still has. A key frame follows.
    virtual void drain() = 0;
    // Forgets what it still has. A key frame follows.
    virtual void flush() = 0;
};

}  // namespace lx2::example
