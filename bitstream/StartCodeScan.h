// The scanner's inner loop: where does the next start code begin?
//
// The plain form compares four bytes at each position and says what is right. The fast form gives
// the same answer; it passes over sixteen positions at a time while no start code can begin there.
// Both look at the positions [from, end) and read no byte behind buf[end + 2], the last one of a
// start code at end - 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace lx2 {

constexpr uint8_t kStartCode[4] = {0, 0, 0, 1};

inline bool IsStartCode(const uint8_t* bytes) {
    uint32_t there, wanted;
    memcpy(&there, bytes, sizeof(there));
    memcpy(&wanted, kStartCode, sizeof(wanted));
    return there == wanted;
}

// The first position in [from, end) at which a start code begins, or end.
inline size_t FindStartCodePlain(const uint8_t* buf, size_t from, size_t end) {
    for (size_t p = from; p < end; ++p) {
        if (IsStartCode(buf + p))
            return p;
    }
    return end;
}

#if defined(__SSE2__)
#define LX2_START_CODE_BLOCKS 1

using ByteBlock = __m128i;

inline ByteBlock LoadBlock(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// All ones in the byte pairs of a block that are zero.
inline ByteBlock ZeroPairs(const uint8_t* bytes) {
    return _mm_cmpeq_epi16(LoadBlock(bytes), _mm_setzero_si128());
}

inline ByteBlock Either(ByteBlock a, ByteBlock b) {
    return _mm_or_si128(a, b);
}

inline bool AnyBit(ByteBlock a) {
    return _mm_movemask_epi8(a) != 0;
}

// The first of sixteen positions at which a start code begins, or 16.
inline unsigned StartCodeInBlock(const uint8_t* bytes) {
    const __m128i zeros =
        _mm_or_si128(_mm_or_si128(LoadBlock(bytes), LoadBlock(bytes + 1)), LoadBlock(bytes + 2));
    const __m128i hits = _mm_and_si128(_mm_cmpeq_epi8(zeros, _mm_setzero_si128()),
                                       _mm_cmpeq_epi8(LoadBlock(bytes + 3), _mm_set1_epi8(1)));
    return static_cast<unsigned>(__builtin_ctz(_mm_movemask_epi8(hits) | 0x10000));
}

#elif defined(__aarch64__)
#define LX2_START_CODE_BLOCKS 1

using ByteBlock = uint8x16_t;

inline ByteBlock ZeroPairs(const uint8_t* bytes) {
    return vreinterpretq_u8_u16(vceqzq_u16(vreinterpretq_u16_u8(vld1q_u8(bytes))));
}

inline ByteBlock Either(ByteBlock a, ByteBlock b) {
    return vorrq_u8(a, b);
}

inline bool AnyBit(ByteBlock a) {
    return vmaxvq_u8(a) != 0;
}

inline unsigned StartCodeInBlock(const uint8_t* bytes) {
    const uint8x16_t zeros =
        vorrq_u8(vorrq_u8(vld1q_u8(bytes), vld1q_u8(bytes + 1)), vld1q_u8(bytes + 2));
    const uint8x16_t hits =
        vandq_u8(vceqzq_u8(zeros), vceqq_u8(vld1q_u8(bytes + 3), vdupq_n_u8(1)));
    // Narrows every byte of all ones or zeros to four bits of a word.
    const uint8x8_t nibbles = vshrn_n_u16(vreinterpretq_u16_u8(hits), 4);
    const uint64_t word = vget_lane_u64(vreinterpret_u64_u8(nibbles), 0);
    return word == 0 ? 16 : static_cast<unsigned>(__builtin_ctzll(word)) / 4;
}
#endif

#if defined(LX2_START_CODE_BLOCKS)

// Whether a start code may begin at one of the 64 positions from bytes on. A start code has three
// zeros in a row, and in any grid of byte pairs two of them are a pair. With the grid laid from the
// second byte on, 32 pairs answer for exactly these 64 positions.
inline bool MayHoldStartCode(const uint8_t* bytes) {
    const uint8_t* grid = bytes + 1;
    return AnyBit(Either(Either(ZeroPairs(grid), ZeroPairs(grid + 16)),
                         Either(ZeroPairs(grid + 32), ZeroPairs(grid + 48))));
}

// The same result as FindStartCodePlain.
inline size_t FindStartCode(const uint8_t* buf, size_t from, size_t end) {
    constexpr size_t kBlock = 16, kGroup = 4 * kBlock;
    size_t p = from;
    while (p + kBlock <= end) {
        if (p + kGroup <= end && !MayHoldStartCode(buf + p)) {
            p += kGroup;
            continue;
        }
        // One group, or what is left of it, exactly.
        const size_t stop = p + kGroup <= end ? p + kGroup : end;
        for (; p + kBlock <= stop; p += kBlock) {
            const unsigned at = StartCodeInBlock(buf + p);
            if (at < kBlock)
                return p + at;
        }
    }
    return FindStartCodePlain(buf, p, end);
}

#else

inline size_t FindStartCode(const uint8_t* buf, size_t from, size_t end) {
    return FindStartCodePlain(buf, from, end);
}

#endif

}  // namespace lx2
