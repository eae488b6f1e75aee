// The log modules of the subsystems: tag and group. A source file takes one as its kLog.
#pragma once

#include <lx2/Log.h>

namespace lx2 {

constexpr LogModule kEngineLog{"LX2GBXEngine", LogGroup::Gralloc};
constexpr LogModule kFileDumpLog{"FileDump", LogGroup::Buffer};
constexpr LogModule kGrallocLog{"LX2GrallocBuffer", LogGroup::Gralloc};
constexpr LogModule kParamLog{"ReflectedParamUpdater", LogGroup::Gralloc};
constexpr LogModule kStreamLog{"LX2StreamParser", LogGroup::Buffer};  // IVF headers too

}  // namespace lx2
