#include <lx2/LX2StreamParser.h>

#include <algorithm>
#include <utility>

#include "StartCodeScan.h"
#include "StreamParserLog.h"

namespace lx2 {

namespace {

using ExtractType = std::function<uint16_t(uint16_t)>;

constexpr uint16_t kNoType = 0xFFFF;
constexpr uint32_t kHeaderEnd = sizeof(kStartCode) + 2;  // of a unit's start code and header word
constexpr size_t kFirstSearched = 5;

uint16_t HeaderWord(const uint8_t* unit) {
    return static_cast<uint16_t>(unit[4] << 8 | unit[5]);
}

// Where in [kFirstSearched, end) the next start code begins, or end. Blocks are loaded from the
// caller's own bytes only. A length may reach beyond them, and there the search goes byte by byte
// and touches nothing behind the start code that ends it.
size_t NextStartCode(const uint8_t* buf, size_t end, size_t ownBytes) {
    const size_t ownEnd = ownBytes < sizeof(kStartCode) ? 0 : ownBytes - sizeof(kStartCode);
    const size_t blockEnd = std::min(end, ownEnd);
    const size_t found = FindStartCode(buf, kFirstSearched, blockEnd);
    if (found < blockEnd)
        return found;
    return FindStartCodePlain(buf, std::max(blockEnd, kFirstSearched), end);
}

// _FindNAL on a buffer of whose size bytes the first ownBytes are known to be the caller's.
LX2Status MeasureNAL(const uint8_t* buf, uint32_t size, size_t ownBytes, uint32_t* nalSize,
                     uint16_t* type, uint16_t* nextType, const ExtractType& extractType) {
    LX2_LOGT("FindNAL");
    if (size < kHeaderEnd || buf == nullptr || nalSize == nullptr || type == nullptr ||
        nextType == nullptr) {
        LX2_LOGE("FindNAL: invalid args");
        return LX2_BAD_ARG;
    }
    *nalSize = 0;
    *nextType = kNoType;
    if (!IsStartCode(buf)) {
        LX2_LOGE("FindNAL: buffer does not start with start-code !");
        return C2_CORRUPTED;
    }
    *type = extractType(HeaderWord(buf));

    const size_t end = size - sizeof(kStartCode);  // at least one byte follows a start code
    const size_t next = NextStartCode(buf, end, ownBytes);
    if (next >= end) {
        *nalSize = size;
        return C2_OK;
    }
    LX2_LOGT("StartCode found at %u", static_cast<uint32_t>(next));
    // May read the byte behind the buffer, which callers provide.
    *nextType = extractType(HeaderWord(buf + next));
    *nalSize = static_cast<uint32_t>(next);
    return C2_OK;
}

}  // namespace

LX2Status _FindNAL(const uint8_t* buf, uint32_t size, uint32_t* nalSize, uint16_t* type,
                   uint16_t* nextType, std::function<uint16_t(uint16_t)> extractType) {
    return MeasureNAL(buf, size, size, nalSize, type, nextType, extractType);
}

LX2Status _FindHeaders(const uint8_t* buf, uint32_t size, uint32_t* headerSize,
                       std::function<bool(uint32_t)> isHeader,
                       std::function<uint32_t(uint16_t)> extractType,
                       std::function<const char*(uint16_t)> typeName) {
    if (buf == nullptr || headerSize == nullptr)
        return LX2_BAD_ARG;
    const ExtractType narrowed = [&extractType](uint16_t header) {
        return static_cast<uint16_t>(extractType(header));
    };
    *headerSize = 0;
    uint16_t current = kNoType, next = kNoType;
    uint32_t unitSize = 0;
    bool found = false;
    // A unit's length is the buffer's less four bytes a unit walked over, not what is left of the
    // buffer, and the same four bytes bound the number of units. Components rely on both.
    uint32_t remaining = size;
    uint32_t counter = sizeof(kStartCode);
    for (;;) {
        const size_t ownBytes = size - std::min(*headerSize, size);
        if (MeasureNAL(buf + *headerSize, remaining, ownBytes, &unitSize, &current, &next,
                       narrowed) != C2_OK)
            break;
        *headerSize += unitSize;
        LX2_LOGD("FindHeaders: found NAL [current=%s][size=%u][next=%s]", typeName(current),
                 unitSize, typeName(next));
        found = found || isHeader(current);
        if (!isHeader(next) || counter >= size)
            break;
        remaining -= sizeof(kStartCode);
        counter += sizeof(kStartCode);
    }
    if (found)
        return C2_OK;
    LX2_LOGD("No header detected!");
    return C2_NOT_FOUND;
}

}  // namespace lx2
