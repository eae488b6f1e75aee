#pragma once

#include <lx2/Log.h>

namespace lx2 {

// The buffer model prints all of its messages under one tag.
constexpr LogModule kLog{"LX2Buf", LogGroup::Buffer};

}  // namespace lx2
