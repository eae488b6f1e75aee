#pragma once

#include <lx2/Log.h>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

}  // namespace lx2
