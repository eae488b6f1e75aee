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
    typedef uint64_t Words __attribute__((vector_size(16)));
};
struct Vectors32 {
    typedef uint8_t Bytes __attribute__((vector_size(32)));
    typedef uint64_t Words __attribute__((vector_size(32)));
};

template <class Bytes>
[[gnu::always_inline]] inline void Load(const uint8_t* at, Bytes* bytes) {
    memcpy(bytes, at, sizeof(*bytes));
}

// A start code of kLength bytes.
template <size_t kLength>
struct Code {
    static bool isAt(const uint8_t* bytes) {
        return memcmp(bytes, kLong + sizeof(kLong) - kLength, kLength) == 0;
    }

    // Sets the bytes of those of a vector's positions, from at on, at which the code begins.
    template <class Vectors>
    [[gnu::always_inline]] static void addHits(const uint8_t* at, typename Vectors::Words* hits) {
        typename Vectors::Bytes other, bytes;
        Load(at + kLength - 1, &other);
        other ^= uint8_t{1};
        for (size_t i = 0; i < kLength - 1; ++i) {
            Load(at + i, &bytes);
            other |= bytes;
        }
        *hits |= (typename Vectors::Words)(other == 0);
    }

    // Sets more of them, in less time: where the zeros before the 1 are. A stream's payload has few
    // such pairs.
    template <class Vectors>
    [[gnu::always_inline]] static void addSuspects(const uint8_t* at,
                                                   typename Vectors::Words* suspects) {
        typename Vectors::Bytes first, second;
        Load(at + kLength - 3, &first);
        Load(at + kLength - 2, &second);
        *suspects |= (typename Vectors::Words)((first | second) == 0);
    }
};
using LongCode = Code<4>;
using ShortCode = Code<3>;

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
template <class Code, class Vectors>
[[gnu::always_inline]] inline size_t SkipGroups(const uint8_t* buf, size_t p, size_t end) {
    using Words = typename Vectors::Words;
    constexpr size_t kGroup = 4 * sizeof(Words), kCacheLine = 64, kAhead = 2048;
    for (; p + kGroup <= end; p += kGroup) {
        for (size_t at = 0; at < kGroup; at += kCacheLine)
            __builtin_prefetch(buf + p + kAhead + at);
        Words suspects{};
#pragma GCC unroll 4
        for (size_t at = 0; at < kGroup; at += sizeof(Words))
            Code::template addSuspects<Vectors>(buf + p + at, &suspects);
        uint64_t any = 0;
        for (size_t i = 0; i < sizeof(Words) / sizeof(any); ++i)
            any |= suspects[i];
        if (any != 0)
            break;
    }
    return p;
}

// The same result as FindPlain.
template <class Code, class Vectors>
[[gnu::always_inline]] inline size_t FindBy(const uint8_t* buf, size_t p, size_t end) {
    using Words = typename Vectors::Words;
    while (p + sizeof(Words) <= end) {
        p = SkipGroups<Code, Vectors>(buf, p, end);
        const size_t groupEnd = std::min(p + 4 * sizeof(Words), end);
        for (; p + sizeof(Words) <= groupEnd; p += sizeof(Words)) {
            Words hits{};
            Code::template addHits<Vectors>(buf + p, &hits);
            for (size_t i = 0; i < sizeof(Words) / 8; ++i) {
                if (hits[i] != 0)
                    return p + 8 * i + static_cast<size_t>(__builtin_ctzll(hits[i])) / 8;
            }
        }
    }
    return FindPlain<Code>(buf, p, end);
}

#if defined(__x86_64__) || defined(__i386__)
// For processors that have vectors of 32 bytes.
template <class Code>
__attribute__((target("avx2"))) inline size_t FindWide(const uint8_t* buf, size_t from,
                                                       size_t end) {
    return FindBy<Code, Vectors32>(buf, from, end);
}
#endif

template <class Code>
inline size_t Find(const uint8_t* buf, size_t from, size_t end) {
#if defined(__x86_64__) || defined(__i386__)
    if (__builtin_cpu_supports("avx2"))
        return FindWide<Code>(buf, from, end);
#endif
    return FindBy<Code, Vectors16>(buf, from, end);
}

}  // namespace lx2::startcode
