#include <base/LogModules.h>
#include <lx2/LX2StreamParser.h>

#include <algorithm>
#include <utility>

#include "StartCodeScan.h"

namespace lx2 {

constexpr LogModule kLog = kStreamLog;

namespace {

using ExtractType = std::function<uint16_t(uint16_t)>;

constexpr uint16_t kNoType = 0xFFFF;
constexpr uint32_t kHeaderEnd =
    sizeof(startcode::kLong) + 2;  // of a unit's start code and header word
constexpr size_t kFirstSearched = 5;

uint16_t HeaderWord(const uint8_t* unit) {
    return static_cast<uint16_t>(unit[4] << 8 | unit[5]);
}

// Where in [kFirstSearched, end) the next start code begins, or end. Blocks are loaded from the
// caller's own bytes only. A length may reach beyond them, and there the search goes byte by byte
// and touches nothing behind the start code that ends it.
size_t NextStartCode(const uint8_t* buf, size_t end, size_t ownBytes) {
    const size_t ownEnd =
        ownBytes < sizeof(startcode::kLong) ? 0 : ownBytes - sizeof(startcode::kLong);
    const size_t blockEnd = std::min(end, ownEnd);
    const size_t found = startcode::Find<startcode::LongCode>(buf, kFirstSearched, blockEnd);
    if (found < blockEnd)
        return found;
    return startcode::FindPlain<startcode::LongCode>(buf, std::max(blockEnd, kFirstSearched), end);
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
    if (!startcode::LongCode::isAt(buf)) {
        LX2_LOGE("FindNAL: buffer does not start with start-code !");
        return C2_CORRUPTED;
    }
    *type = extractType(HeaderWord(buf));

    const size_t end = size - sizeof(startcode::kLong);  // at least one byte follows a start code
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
    // buffer. Components rely on that. It also ends the walk: a rest that is too short for a unit's
    // header is no unit.
    uint32_t remaining = size;
    for (;;) {
        const size_t ownBytes = size - std::min(*headerSize, size);
        if (MeasureNAL(buf + *headerSize, remaining, ownBytes, &unitSize, &current, &next,
                       narrowed) != C2_OK)
            break;
        *headerSize += unitSize;
        LX2_LOGD("FindHeaders: found NAL [current=%s][size=%u][next=%s]", typeName(current),
                 unitSize, typeName(next));
        found = found || isHeader(current);
        if (!isHeader(next))
            break;
        remaining -= sizeof(startcode::kLong);
    }
    if (found)
        return C2_OK;
    LX2_LOGD("No header detected!");
    return C2_NOT_FOUND;
}

uint32_t _FindStartCode(const uint8_t* buf, uint32_t size, uint32_t from, uint32_t* codeSize) {
    constexpr uint32_t kShortSize = 3;
    *codeSize = 0;
    if (buf == nullptr || size < kShortSize)
        return size;
    const size_t end = size - kShortSize + 1;
    const size_t found = startcode::Find<startcode::ShortCode>(buf, from, end);
    if (found >= end)
        return size;
    const bool isLong = found > from && buf[found - 1] == 0;
    *codeSize = kShortSize + (isLong ? 1 : 0);
    return static_cast<uint32_t>(found - (isLong ? 1 : 0));
}

}  // namespace lx2
