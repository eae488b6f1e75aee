#include "SoftwareConvert.h"

#if defined(__SSE2__)
#include <immintrin.h>
#elif defined(__ARM_NEON)
#include <arm_neon.h>
#endif

namespace lx2::color {

namespace {

constexpr size_t kBlock = 16;

#if defined(__SSE2__)
void InterleaveBlock(const uint8_t* first, const uint8_t* second, uint8_t* pairs) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(first));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(second));
    auto* out = reinterpret_cast<__m128i*>(pairs);
    _mm_storeu_si128(out, _mm_unpacklo_epi8(a, b));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(a, b));
}
#elif defined(__ARM_NEON)
void InterleaveBlock(const uint8_t* first, const uint8_t* second, uint8_t* pairs) {
    vst2q_u8(pairs, uint8x16x2_t{{vld1q_u8(first), vld1q_u8(second)}});
}
#else
void InterleaveBlock(const uint8_t* first, const uint8_t* second, uint8_t* pairs) {
    InterleavePlain(first, second, pairs, kBlock);
}
#endif

// Whole double blocks with what this processor has beyond that; returns how many pairs it did.
#if defined(__SSE2__)
__attribute__((target("avx2"))) size_t InterleaveAvx2(const uint8_t* first, const uint8_t* second,
                                                      uint8_t* pairs, size_t count) {
    size_t done = 0;
    for (; done + 2 * kBlock <= count; done += 2 * kBlock) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(first + done));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(second + done));
        const __m256i low = _mm256_unpacklo_epi8(a, b);
        const __m256i high = _mm256_unpackhi_epi8(a, b);
        auto* out = reinterpret_cast<__m256i*>(pairs + 2 * done);
        _mm256_storeu_si256(out, _mm256_permute2x128_si256(low, high, 0x20));
        _mm256_storeu_si256(out + 1, _mm256_permute2x128_si256(low, high, 0x31));
    }
    return done;
}

size_t InterleaveWide(const uint8_t* first, const uint8_t* second, uint8_t* pairs, size_t count) {
    return __builtin_cpu_supports("avx2") ? InterleaveAvx2(first, second, pairs, count) : 0;
}
#else
size_t InterleaveWide(const uint8_t*, const uint8_t*, uint8_t*, size_t) {
    return 0;
}
#endif

}  // namespace

void InterleavePlain(const uint8_t* first, const uint8_t* second, uint8_t* pairs, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        pairs[2 * i] = first[i];
        pairs[2 * i + 1] = second[i];
    }
}

void Interleave(const uint8_t* __restrict first, const uint8_t* __restrict second,
                uint8_t* __restrict pairs, size_t count) {
    size_t done = InterleaveWide(first, second, pairs, count);
    for (; done + kBlock <= count; done += kBlock)
        InterleaveBlock(first + done, second + done, pairs + 2 * done);
    InterleavePlain(first + done, second + done, pairs + 2 * done, count - done);
}

}  // namespace lx2::color
