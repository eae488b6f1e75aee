#include "SoftwareConvert.h"

#if defined(__SSE2__)
#include <emmintrin.h>
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

}  // namespace

void InterleavePlain(const uint8_t* first, const uint8_t* second, uint8_t* pairs, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        pairs[2 * i] = first[i];
        pairs[2 * i + 1] = second[i];
    }
}

void Interleave(const uint8_t* __restrict first, const uint8_t* __restrict second,
                uint8_t* __restrict pairs, size_t count) {
    size_t done = 0;
    for (; done + 2 * kBlock <= count; done += 2 * kBlock) {
        InterleaveBlock(first + done, second + done, pairs + 2 * done);
        InterleaveBlock(first + done + kBlock, second + done + kBlock, pairs + 2 * (done + kBlock));
    }
    InterleavePlain(first + done, second + done, pairs + 2 * done, count - done);
}

}  // namespace lx2::color
