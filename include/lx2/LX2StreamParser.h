// Finds NAL units and codec headers in byte streams as Annex B of ITU-T H.264 (AVC) and of H.265
// (HEVC) defines them.
//
// A component that gets a stream in arbitrary buffers uses this to learn where a unit ends, of what
// type it and its successor are, and how many leading bytes of a buffer are codec configuration
// (parameter sets). Everything is static, keeps no state and may be called from any thread.
//
// There are two families. LX2NalUnits and FindCodecConfig take both start codes of Annex B, 00 00
// 01 and 00 00 00 01, read no byte behind the size they are told, and never report more than that:
// new code uses these. FindNAL and FindHeaders are for components that rely on what they do:
//
// A unit begins with the four-byte start code 00 00 00 01 and ends where the next one begins, or
// with the buffer; its size includes its start code. The three-byte code 00 00 01 does not split: a
// unit behind one is part of the unit before.
//
// Storage the caller of these two provides. They may read bytes behind the size they are told:
//
// - FindNAL reads up to and including buf[size], so size + 1 bytes must be readable. (The byte
//   behind the end is read when a start code and one byte end the buffer; it is then part of the
//   next unit's header word.)
// - FindHeaders gives the k-th unit of its walk, counted from 0, a length of size - 4k bytes from
//   where that unit begins, not of the bytes that are left. It looks for the end of the last header
//   unit that far, up to buf[2 * size - 9], so size + 1 bytes must be readable, or 2 * size - 8
//   where that is more. The bytes from buf[size] on must hold no further header unit, best they are
//   zero; otherwise the walk goes on into them, and counts what it finds. No byte behind
//   buf[size - 1] is read that a search byte by byte would not need: a buffer that holds start code
//   and header word of the unit after the last header is not overrun.
#pragma once

#include <lx2/Export.h>
#include <lx2/LX2Status.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>

namespace lx2 {

// Measures the first unit of a buffer.
//
// extractType turns the two bytes behind a start code, big-endian, into a NAL type. On success
// *nalSize is the unit's size in bytes, *type its type and *nextType that of the unit behind it, or
// 0xFFFF when the unit runs to the end of the buffer. The next start code is searched from position
// 5 on and must have at least one byte of the buffer behind it.
// C2_OK; LX2_BAD_ARG, logged, for fewer than 6 bytes or a null pointer (nothing is written);
// C2_CORRUPTED, logged, if the buffer does not begin with a start code (*nalSize is then 0,
// *nextType 0xFFFF, *type unchanged).
// An empty extractType raises std::bad_function_call when it is needed.
LX2_API LX2Status _FindNAL(const uint8_t* buf, uint32_t size, uint32_t* nalSize, uint16_t* type,
                           uint16_t* nextType, std::function<uint16_t(uint16_t)> extractType);

// Measures the codec headers that a buffer begins with.
//
// Walks from unit to unit for as long as the next unit is a header by isHeader, for at most size /
// 4 units, rounded up. *headerSize is the number of bytes walked over: the first unit, whatever it
// is, and every header unit that follows without a gap. (So an access-unit delimiter in front of
// the parameter sets counts.) It may be more than size when the last unit walked over is a header
// and nothing ends it: the caller takes size instead, and reads nothing beyond. extractType's
// result is cut to 16 bits; typeName serves the debug log only. C2_OK; C2_NOT_FOUND if no unit of
// the walk is a header, or, logged as by _FindNAL and with *headerSize 0, if the buffer does not
// begin with a unit; LX2_BAD_ARG for a null buf or headerSize (nothing is written).
LX2_API LX2Status _FindHeaders(const uint8_t* buf, uint32_t size, uint32_t* headerSize,
                               std::function<bool(uint32_t)> isHeader,
                               std::function<uint32_t(uint16_t)> extractType,
                               std::function<const char*(uint16_t)> typeName);

// The first start code of either length in [from, size): its position and, in *codeSize, 3 or 4.
// size, and a *codeSize of 0, when there is none or buf is null. Reads buf[from] to buf[size - 1].
LX2_API uint32_t _FindStartCode(const uint8_t* buf, uint32_t size, uint32_t from,
                                uint32_t* codeSize);

// A unit of a byte stream with start codes of either length.
struct LX2NalUnit {
    uint32_t offset = 0;      // of its start code, bytes from the start of the buffer
    uint32_t size = 0;        // with its start code, to the next one or the end of the buffer
    uint32_t headerSize = 0;  // of its start code and unit header, behind which the payload begins
    uint16_t type = 0xFFFF;   // 0xFFFF, with a headerSize of size, if the buffer ends in the header
};

// The units of a buffer, one by one: for (const LX2NalUnit& unit : LX2NalUnits<Parser>(buf, size)).
// Parser is one of the two classes below. What lies before the first start code belongs to no unit;
// zeros before a start code that are none of its own (trailing_zero_8bits) belong to the unit
// before. The buffer is not copied and outlives the walk.
template <class Parser>
class LX2NalUnits {
  public:
    LX2NalUnits(const uint8_t* buf, uint32_t size) : mBuf(buf), mSize(size) {}

    class Iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = LX2NalUnit;
        using difference_type = std::ptrdiff_t;
        using pointer = const LX2NalUnit*;
        using reference = const LX2NalUnit&;

        Iterator(const uint8_t* buf, uint32_t size, uint32_t from) : mBuf(buf), mSize(size) {
            mUnit.offset = _FindStartCode(buf, size, from, &mCodeSize);
            measure();
        }

        reference operator*() const { return mUnit; }
        pointer operator->() const { return &mUnit; }
        bool operator==(const Iterator& other) const { return mUnit.offset == other.mUnit.offset; }
        bool operator!=(const Iterator& other) const { return !(*this == other); }

        Iterator& operator++() {
            mUnit.offset += mUnit.size;
            mCodeSize = mNextCodeSize;
            measure();
            return *this;
        }
        Iterator operator++(int) {
            const Iterator before = *this;
            ++*this;
            return before;
        }

      private:
        void measure() {
            const uint32_t header = mUnit.offset + mCodeSize;
            mUnit.size = _FindStartCode(mBuf, mSize, header, &mNextCodeSize) - mUnit.offset;
            mUnit.headerSize = mCodeSize + Parser::kUnitHeaderSize;
            mUnit.type = 0xFFFF;
            if (mUnit.headerSize <= mUnit.size)
                mUnit.type = Parser::ExtractNalType(static_cast<uint16_t>(mBuf[header] << 8));
            else
                mUnit.headerSize = mUnit.size;
        }

        const uint8_t* mBuf;
        uint32_t mSize;
        uint32_t mCodeSize = 0;
        uint32_t mNextCodeSize = 0;
        LX2NalUnit mUnit;
    };

    Iterator begin() const { return Iterator(mBuf, mSize, 0); }
    Iterator end() const { return Iterator(mBuf, mSize, mSize); }

  private:
    const uint8_t* mBuf;
    uint32_t mSize;
};

// The two functions above with the rules of H.264. Headers are SPS and PPS.
class LX2_API LX2AVCStreamParser {
  public:
    static constexpr uint32_t kUnitHeaderSize = 1;  // bytes behind the start code

    // As _FindNAL.
    static LX2Status FindNAL(const uint8_t* buf, uint32_t size, uint32_t* nalSize, uint16_t* type,
                             uint16_t* nextType);
    // As _FindHeaders.
    static LX2Status FindHeaders(const uint8_t* buf, uint32_t size, uint32_t* headerSize);
    // The codec configuration that a buffer begins with, in bytes: the first unit, whatever it is,
    // and the headers that follow it without a gap, under start codes of either length. Never more
    // than size. Bytes before the first start code count. C2_OK; C2_NOT_FOUND, with 0, without a
    // header among them; LX2_BAD_ARG for null.
    static LX2Status FindCodecConfig(const uint8_t* buf, uint32_t size, uint32_t* configSize);
    // The NAL type in the two bytes behind a start code: bits 0 to 4 of the first.
    static uint16_t ExtractNalType(uint16_t header);
    // A printable name in static storage, "UNKOWN" for a type without one. Never null.
    static const char* NalTypeStr(uint16_t type);
};

// The same for H.265. Headers are VPS, SPS and PPS.
class LX2_API LX2HEVCStreamParser {
  public:
    static constexpr uint32_t kUnitHeaderSize = 2;  // bytes behind the start code

    // As _FindNAL.
    static LX2Status FindNAL(const uint8_t* buf, uint32_t size, uint32_t* nalSize, uint16_t* type,
                             uint16_t* nextType);
    // As _FindHeaders.
    static LX2Status FindHeaders(const uint8_t* buf, uint32_t size, uint32_t* headerSize);
    static LX2Status FindCodecConfig(const uint8_t* buf, uint32_t size, uint32_t* configSize);
    // The NAL type in the two bytes behind a start code: bits 1 to 6 of the first.
    static uint16_t ExtractNalType(uint16_t header);
    // A printable name in static storage, "UNKNOWN" for a type without one. Never null.
    static const char* NalTypeStr(uint16_t type);
};

}  // namespace lx2
