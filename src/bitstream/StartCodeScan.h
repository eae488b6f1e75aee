// The scanner's inner loop: where does the next start code begin?
//
// The plain form looks at each position and says what is right. The fast form gives the same
// answer; it passes over groups of positions while no start code can lie there. Both look at the
// positions [from, end) and read no byte behind the last one of a start code at end - 1.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace lx2::startcode {

constexpr uint8_t kLong[4] = {0, 0, 0, 1};

// Vectors as the compiler has them for every processor.
struct Vectors16 {
    typedef uint8_t Bytes __attribute__((vector_size(16)));
    typedef uint16_t Pairs __attribute__((vector_size(16)));
    typedef uint64_t Words __attribute__((vector_size(16)));
};
struct Vectors32 {
    typedef uint8_t Bytes __attribute__((vector_size(32)));
    typedef uint16_t Pairs __attribute__((vector_size(32)));
    typedef uint64_t Words __attribute__((vector_size(32)));
};

// The two start codes. addSuspects() sets bits where a code may begin in a vector's positions from
// at on.

// In any grid of byte pairs, a long code has a pair of zeros with a 0 or 1 behind it: 00 00|00 01
// or x 00|00 00|01. With the grid laid from the second byte on, the pairs of a group of vectors
// answer for exactly its positions. A stream's payload holds no such bytes (an encoder breaks them
// up with 03).
struct LongCode {
    static bool isAt(const uint8_t* bytes) {
        uint32_t there, wanted;
        memcpy(&there, bytes, sizeof(there));
        memcpy(&wanted, kLong, sizeof(wanted));
        return there == wanted;
    }
    template <class Vectors>
    [[gnu::always_inline]] static void addSuspects(const uint8_t* at,
                                                   typename Vectors::Words* suspects) {
        typename Vectors::Pairs pairs, behind;
        memcpy(&pairs, at + 1, sizeof(pairs));
        memcpy(&behind, at + 3, sizeof(behind));
        *suspects |= (typename Vectors::Words)((pairs | (behind & uint16_t{0x00FE})) == 0);
    }
};

// Looked for at each position, which takes one more load.
struct ShortCode {
    static bool isAt(const uint8_t* bytes) {
        return bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 1;
    }
    template <class Vectors>
    [[gnu::always_inline]] static void addSuspects(const uint8_t* at,
                                                   typename Vectors::Words* suspects) {
        typename Vectors::Bytes first, second, third;
        memcpy(&first, at, sizeof(first));
        memcpy(&second, at + 1, sizeof(second));
        memcpy(&third, at + 2, sizeof(third));
        *suspects |= (typename Vectors::Words)((first | second | (third ^ uint8_t{1})) == 0);
    }
};

// The first position in [from, end) at which a start code begins, or end.
template <class Code>
inline size_t FindPlain(const uint8_t* buf, size_t from, size_t end) {
    for (size_t p = from; p < end; ++p) {
        if (Code::isAt(buf + p))
            return p;
    }
    return end;
}

// The first position from p on, in steps of four vectors before end, where a code may begin.
template <class Vectors, class Code>
[[gnu::always_inline]] inline size_t SkipGroupsBy(const uint8_t* buf, size_t p, size_t end) {
    constexpr size_t kSize = sizeof(typename Vectors::Bytes);
    for (; p + 4 * kSize <= end; p += 4 * kSize) {
        typename Vectors::Words suspects{};
#pragma GCC unroll 4
        for (const uint8_t* at = buf + p; at < buf + p + 4 * kSize; at += kSize)
            Code::template addSuspects<Vectors>(at, &suspects);
        uint64_t any = 0;
        for (size_t i = 0; i < kSize / sizeof(any); ++i)
            any |= suspects[i];
        if (any != 0)
            break;
    }
    return p;
}

#if defined(__x86_64__) || defined(__i386__)
// For processors that have vectors of 32 bytes.
template <class Code>
__attribute__((target("avx2"))) inline size_t SkipGroupsWide(const uint8_t* buf, size_t p,
                                                             size_t end) {
    return SkipGroupsBy<Vectors32, Code>(buf, p, end);
}
#endif

template <class Code>
inline size_t SkipGroups(const uint8_t* buf, size_t p, size_t end) {
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx2"))
        p = SkipGroupsWide<Code>(buf, p, end);
#endif
    return SkipGroupsBy<Vectors16, Code>(buf, p, end);
}

// The same result as FindPlain.
template <class Code>
inline size_t Find(const uint8_t* buf, size_t from, size_t end) {
    constexpr size_t kGroup = 64;
    for (size_t p = from; p < end;) {
        p = SkipGroups<Code>(buf, p, end);
        const size_t groupEnd = std::min(p + kGroup, end);
        p = FindPlain<Code>(buf, p, groupEnd);
        if (p < groupEnd)
            return p;
    }
    return end;
}

}  // namespace lx2::startcode
