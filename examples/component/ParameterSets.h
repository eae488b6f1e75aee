// The parameter sets at the front of a unit.
#pragma once

#include <lx2/LX2StreamParser.h>

#include <cstdint>
#include <string>

namespace lx2::example {

// Their bytes. 0 where other units come first; VP8 and VP9 have theirs in every frame.
inline uint32_t ParameterSetSize(const std::string& mediaType, const uint8_t* unit, uint32_t size) {
    uint32_t headers = 0;
    if (mediaType == "video/avc")
        LX2AVCStreamParser::FindCodecConfig(unit, size, &headers);
    else if (mediaType == "video/hevc")
        LX2HEVCStreamParser::FindCodecConfig(unit, size, &headers);
    return headers;
}

}  // namespace lx2::example
