#pragma once

#include <lx2/Log.h>

namespace lx2 {

constexpr LogModule kLog{"LX2GBXEngine", LogGroup::Gralloc};

}  // namespace lx2
