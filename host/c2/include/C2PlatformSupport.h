// Stand-in for the Codec 2.0 support library's <C2PlatformSupport.h>: the platform's block pools.
#pragma once

#include <C2Buffer.h>

class C2Component;

namespace android {

// The block pool of an id: C2BlockPool::BASIC_LINEAR or C2BlockPool::BASIC_GRAPHIC here.
// C2_OK; C2_NOT_FOUND for any other id; C2_BAD_VALUE for a null out-pointer.
LX2_HOST_API c2_status_t GetCodec2BlockPool(C2BlockPool::local_id_t id,
                                            std::shared_ptr<const C2Component> component,
                                            std::shared_ptr<C2BlockPool>* pool);

}  // namespace android
