// The pool of linear memory.
#pragma once

#include <C2Buffer.h>

namespace lx2::host {

// Allocates every block anew.
std::shared_ptr<C2BlockPool> CreateLinearPool(C2BlockPool::local_id_t id);

}  // namespace lx2::host
