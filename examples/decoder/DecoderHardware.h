// The video hardware behind the decoder, which a vendor puts in place of this one: access units in,
// pictures out in the order of display.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Buffer.h>
#include <C2Config.h>
#include <lx2/LX2Buffer.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace lx2::example {

// What came of a unit.
struct DecodedUnit {
    uint64_t unit = 0;  // as it was submitted
    // C2_OK, with a picture or without (a second field, a frame that is never shown, a picture that
    // refers to what the stream does not have); without one C2_CORRUPTED, and C2_OMITTED for
    // pictures of which this hardware makes nothing.
    c2_status_t status = C2_OK;
    bool more = false;  // another picture of this unit follows

    std::shared_ptr<const void> picture;  // null: none
    bool damaged = false;                 // it was decoded from damaged data
    bool keyFrame = false;
    uint32_t width = 0;  // pixels
    uint32_t height = 0;
    uint32_t bitDepth = 8;  // 8 or 10
    C2ColorAspectsStruct aspects;
    std::optional<C2HdrStaticMetadataStruct> hdr;
};

// Used by one thread at a time.
class DecoderHardware {
  public:
    // Null for a media type that it does not decode, and without memory.
    static std::unique_ptr<DecoderHardware> Open(const std::string& mediaType, uint32_t threads);
    virtual ~DecoderHardware() = default;

    // Takes one access unit under a number that was not used before.
    virtual void submit(const uint8_t* data, size_t size, uint64_t unit) = 0;

    // What came of units, each once, as soon as it is known; pictures in the order of display.
    virtual std::optional<DecodedUnit> next() = 0;

    // How many units may wait for their turn, as far as the stream has told.
    virtual uint32_t delay() const = 0;

    // What came of all units that still wait comes next. endsStream: the next unit refers to
    // nothing before.
    virtual void drain(bool endsStream) = 0;

    // Forgets all units, and all pictures that others refer to.
    virtual void flush() = 0;

    // Writes a picture into a buffer of an even size, in which the last column and row of an odd
    // picture come twice. False for a format that the hardware can't write.
    virtual bool write(const DecodedUnit& decoded, const LX2Buffer::Graphic& target) = 0;

    // Leaves the presentation time in a buffer's metadata for the display.
    virtual void stamp(const C2Buffer& buffer, uint64_t timestamp) = 0;
};

}  // namespace lx2::example
