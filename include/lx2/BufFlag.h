#pragma once

#include <lx2/Export.h>

#include <cstdint>
#include <string>

namespace lx2 {

// Buffer flags: a 64-bit set stored with a buffer under the key "flags".
class LX2_API BufFlag {
  public:
    static constexpr uint64_t DROP_FRAME = 1ull << 0;     // no output is wanted for this input
    static constexpr uint64_t END_OF_STREAM = 1ull << 1;  // the last buffer of the stream
    static constexpr uint64_t DISCARD_FRAME = 1ull << 2;  // decode, but do not show
    static constexpr uint64_t INCOMPLETE = 1ull << 3;     // more of this frame follows
    static constexpr uint64_t SYNC_FRAME = 1ull << 4;     // decoding can start here
    static constexpr uint64_t CORRUPTED = 1ull << 5;      // decoded from damaged data
    static constexpr uint64_t CODEC_CONFIG = 1ull << 31;  // codec-specific data, no picture

    // The names of the set bits joined by '|', unknown bits in hexadecimal; "NONE" for an empty
    // set.
    static std::string Str(uint64_t flags);
};

}  // namespace lx2
