#pragma once

#include <lx2/Log.h>

namespace lx2 {

// The NAL scanner and the IVF headers print under one tag.
constexpr LogModule kLog{"LX2StreamParser", LogGroup::Buffer};

}  // namespace lx2
