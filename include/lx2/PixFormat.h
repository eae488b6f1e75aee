#pragma once

#include <lx2/Export.h>

#include <cstdint>

namespace lx2 {

// The family's pixel formats: unsigned 32-bit graphics-buffer format codes.
class LX2_API PixFormat {
  public:
    static constexpr uint32_t RGBA8888 = 1;
    static constexpr uint32_t RGBA8888_CMPX = 0xC2000000;  // RGBA, bandwidth-compressed
    static constexpr uint32_t I420 = 0x23;                 // planar Y, Cb, Cr 4:2:0
    static constexpr uint32_t NV12 = 0x109;                // semi-planar Y, CbCr 4:2:0
    static constexpr uint32_t YV12 = 0x32315659;           // planar Y, Cr, Cb 4:2:0
    static constexpr uint32_t MIREL_NV12 = 0x7FA30C04;     // video core NV12, planes aligned to 512
    static constexpr uint32_t MIREL_NV12_CMPX = 0x7FA30C06;  // video core NV12, compressed
    static constexpr uint32_t MIREL_TP10 = 0x7FA30C09;  // 10 bit, three samples a word, compressed
    static constexpr uint32_t MIREL_P010 = 0x7FA30C0A;  // 10 bit in 16-bit samples

    // Known to this family by their alignment only, in pixels and rows, and named after it.
    static constexpr uint32_t ALIGN512_114 = 0x114;
    static constexpr uint32_t ALIGN512_125 = 0x125;
    static constexpr uint32_t ALIGN128_126 = 0x126;
    static constexpr uint32_t ALIGN128_128 = 0x128;
    static constexpr uint32_t ALIGN128_129 = 0x129;
    static constexpr uint32_t ALIGN128_130 = 0x130;

    // A printable name without blanks; never null, "UNKNOWN" for an unknown code.
    static const char* Str(uint32_t format);

    // Whether the format is a bandwidth-compressed (tiled) layout.
    static bool IsCompressed(uint32_t format);

    // The linear format that a compressed one is converted to before the CPU reads it; 0 for every
    // format that is not compressed.
    static uint32_t GetUncompressedFor(uint32_t format);
};

}  // namespace lx2
