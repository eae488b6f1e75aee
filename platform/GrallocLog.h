#pragma once

#include <lx2/Log.h>

namespace lx2 {

constexpr LogModule kLog{"LX2GrallocBuffer", LogGroup::Gralloc};

}  // namespace lx2
