// The scanner's inner loop: where does the next start code begin?
//
// The plain form compares four bytes at each position and says what is right. The fast form gives
// the same answer; it passes over blocks of sixteen positions while no start code can begin there.
// Both look at the positions [from, end) and read no byte behind buf[end + 2], the last one of a
// start code at end - 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <immintrin.h>
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

// All ones in those byte pairs of a block that are zero and have a 0 or 1 behind them.
inline ByteBlock SuspectPairs(const uint8_t* bytes) {
    const __m128i behind = _mm_and_si128(LoadBlock(bytes + 2), _mm_set1_epi16(0x00FE));
    return _mm_cmpeq_epi16(_mm_or_si128(LoadBlock(bytes), behind), _mm_setzero_si128());
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

inline ByteBlock SuspectPairs(const uint8_t* bytes) {
    const uint16x8_t pairs = vreinterpretq_u16_u8(vld1q_u8(bytes));
    const uint16x8_t next = vreinterpretq_u16_u8(vld1q_u8(bytes + 2));
    const uint16x8_t behind = vandq_u16(next, vdupq_n_u16(0x00FE));
    return vreinterpretq_u8_u16(vceqzq_u16(vorrq_u16(pairs, behind)));
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

constexpr size_t kBlock = 16, kGroup = 4 * kBlock;

// Whether a start code may begin at one of the 64 positions from bytes on.
//
// In any grid of byte pairs, a start code has a pair of zeros with a 0 or 1 behind it: 00 00|00 01
// or x 00|00 00|01. With the grid laid from the second byte on, 32 pairs answer for exactly these
// positions. A stream's payload holds no such bytes (an encoder breaks them up with 03), so that
// the answer is yes at little more than the start codes.
inline bool MayHoldStartCode(const uint8_t* bytes) {
    const uint8_t* grid = bytes + 1;
    return AnyBit(Either(Either(SuspectPairs(grid), SuspectPairs(grid + kBlock)),
                         Either(SuspectPairs(grid + 2 * kBlock), SuspectPairs(grid + 3 * kBlock))));
}

// The first position from p on, in steps of whole groups before end, where a start code may begin.
inline size_t SkipGroups(const uint8_t* buf, size_t p, size_t end) {
    while (p + kGroup <= end && !MayHoldStartCode(buf + p))
        p += kGroup;
    return p;
}

#if defined(__SSE2__)

// The same in vectors of 32 bytes, two groups a step, for processors that have them.
__attribute__((target("avx2"))) inline size_t SkipGroupsWide(const uint8_t* buf, size_t p,
                                                             size_t end) {
    constexpr size_t kWide = 32;
    const __m256i mask = _mm256_set1_epi16(0x00FE), zero = _mm256_setzero_si256();
    for (; p + 2 * kGroup <= end; p += 2 * kGroup) {
        __m256i suspects = zero;
        for (size_t at = 1; at < 2 * kGroup; at += kWide) {
            const uint8_t* grid = buf + p + at;
            const __m256i pairs = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(grid));
            const __m256i next = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(grid + 2));
            const __m256i either = _mm256_or_si256(pairs, _mm256_and_si256(next, mask));
            suspects = _mm256_or_si256(suspects, _mm256_cmpeq_epi16(either, zero));
        }
        if (_mm256_movemask_epi8(suspects) != 0)
            break;
    }
    return p;
}

#endif

// The same result as FindStartCodePlain.
inline size_t FindStartCode(const uint8_t* buf, size_t from, size_t end) {
#if defined(__SSE2__)
    const bool wide = __builtin_cpu_supports("avx2");
#endif
    size_t p = from;
    while (p + kBlock <= end) {
#if defined(__SSE2__)
        if (wide)
            p = SkipGroupsWide(buf, p, end);
#endif
        p = SkipGroups(buf, p, end);
        // One group, or what is left of it, exactly.
        for (size_t blocks = 0; blocks < 4 && p + kBlock <= end; ++blocks, p += kBlock) {
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
