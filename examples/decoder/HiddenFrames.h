// VP8 and VP9: frames that only later ones refer to, and that are never shown.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lx2::example {

// Whether a unit of the stream shows a picture.
bool ShowsVp8(const uint8_t* data, size_t size);
bool ShowsVp9(const uint8_t* data, size_t size);

}  // namespace lx2::example
