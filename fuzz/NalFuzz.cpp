// The stream parser on any bytes, in storage of exactly the size that its header asks for, against
// a parser that looks at one byte after the other and notes how far it reads.
#include <StartCodeScan.h>
#include <lx2/LX2StreamParser.h>

#include <algorithm>

#include "Support.h"

namespace lx2::fuzz {
namespace {

// A stream with zeros behind its end, for as long as anyone looks.
class Plain {
  public:
    Plain(const uint8_t* data, size_t size) : mData(data), mSize(size) {}

    struct Unit {
        size_t size = 0;
        uint16_t type = 0xFFFF;
        uint16_t nextType = 0xFFFF;
    };

    // The unit at start, whose length is taken to be remaining. False where none begins.
    template <typename Parser>
    bool measure(size_t start, size_t remaining, Unit* unit) {
        unit->size = 0;
        unit->nextType = 0xFFFF;
        if (!isStartCode(start))
            return false;
        unit->type = type<Parser>(start);
        for (size_t p = 5; p + 4 < remaining; ++p) {
            if (!isStartCode(start + p))
                continue;
            unit->nextType = type<Parser>(start + p);
            unit->size = p;
            return true;
        }
        unit->size = remaining;
        return true;
    }

    // One more than the last position that was looked at.
    size_t reach() const { return mReach; }

  private:
    uint8_t at(size_t position) {
        mReach = std::max(mReach, position + 1);
        return position < mSize ? mData[position] : uint8_t{0};
    }
    bool isStartCode(size_t position) {
        const uint8_t bytes[] = {at(position), at(position + 1), at(position + 2),
                                 at(position + 3)};
        return std::equal(bytes, bytes + 4, startcode::kLong);
    }
    template <typename Parser>
    uint16_t type(size_t unit) {
        const int first = at(unit + 4);
        return Parser::ExtractNalType(static_cast<uint16_t>(first << 8 | at(unit + 5)));
    }

    const uint8_t* mData;
    size_t mSize;
    size_t mReach = 0;
};

template <typename Parser>
bool IsHeader(uint16_t type) {
    if constexpr (std::is_same_v<Parser, LX2AVCStreamParser>)
        return type == 7 || type == 8;
    else
        return type >= 32 && type <= 34;
}

// All of data but its last byte is the buffer.
template <typename Parser>
void FindNAL(const uint8_t* data, size_t size) {
    if (size == 0)
        return;
    const auto bufferSize = static_cast<uint32_t>(size - 1);
    ExactBytes storage(data, size);
    uint32_t nalSize = 77;
    uint16_t type = 77, nextType = 77;
    const LX2Status status =
        Parser::FindNAL(storage.data(), bufferSize, &nalSize, &type, &nextType);
    FUZZ_CHECK(Parser::NalTypeStr(type) != nullptr && Parser::NalTypeStr(nextType) != nullptr);
    if (bufferSize < 6) {
        FUZZ_CHECK(status == LX2_BAD_ARG && nalSize == 77 && type == 77 && nextType == 77);
        return;
    }
    Plain::Unit unit;
    Plain plain(data, size);
    const bool found = plain.measure<Parser>(0, bufferSize, &unit);
    FUZZ_CHECK(status == (found ? C2_OK : C2_CORRUPTED));
    FUZZ_CHECK(nalSize == unit.size && nextType == unit.nextType);
    FUZZ_CHECK(type == (found ? unit.type : 77));
    FUZZ_CHECK(plain.reach() <= size);
}

// The walk of FindHeaders in its plain form: the status, and the bytes walked over.
template <typename Parser>
LX2Status WalkHeaders(Plain* plain, size_t size, size_t* headerSize) {
    Plain::Unit unit;
    bool found = false;
    *headerSize = 0;
    size_t remaining = size;
    for (size_t counter = 4;; remaining -= 4, counter += 4) {
        if (remaining < 6 || !plain->measure<Parser>(*headerSize, remaining, &unit))
            break;
        *headerSize += unit.size;
        found = found || IsHeader<Parser>(unit.type);
        if (!IsHeader<Parser>(unit.nextType) || counter >= size)
            break;
    }
    return found ? C2_OK : C2_NOT_FOUND;
}

template <typename Parser>
void FindHeaders(const uint8_t* data, size_t size) {
    Plain plain(data, size);
    size_t expectedSize = 0;
    const LX2Status expected = WalkHeaders<Parser>(&plain, size, &expectedSize);
    const size_t promised = std::max(size + 1, 2 * std::max<size_t>(size, 4) - 8);
    FUZZ_CHECK(plain.reach() <= promised);

    // As much as is promised, and as little as the plain form looked at.
    for (const size_t room : {promised, std::max(size, plain.reach())}) {
        ExactBytes storage(room);
        std::copy(data, data + size, storage.data());
        uint32_t headerSize = 77;
        FUZZ_CHECK(Parser::FindHeaders(storage.data(), static_cast<uint32_t>(size), &headerSize) ==
                   expected);
        FUZZ_CHECK(headerSize == expectedSize);
    }
}

// The fast scan gives what the plain one gives, and stays in memory that ends where it may read.
void Scan(const uint8_t* data, size_t size) {
    constexpr size_t kBehind = 3;
    if (size < kBehind + 1)
        return;
    const size_t end = size - kBehind;
    const size_t from = std::min<size_t>(data[size - 1], end);
    ExactBytes storage(data, size);
    using namespace startcode;
    FUZZ_CHECK(Find<LongCode>(storage.data(), from, end) ==
               FindPlain<LongCode>(storage.data(), from, end));
    FUZZ_CHECK(Find<ShortCode>(storage.data(), from, end) ==
               FindPlain<ShortCode>(storage.data(), from, end));
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2;
    fuzz::FindNAL<LX2AVCStreamParser>(data, size);
    fuzz::FindNAL<LX2HEVCStreamParser>(data, size);
    fuzz::FindHeaders<LX2AVCStreamParser>(data, size);
    fuzz::FindHeaders<LX2HEVCStreamParser>(data, size);
    fuzz::Scan(data, size);
    return 0;
}
