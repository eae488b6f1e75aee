#include <C2Buffer.h>

C2BlockPool::~C2BlockPool() = default;

c2_status_t C2BlockPool::fetchLinearBlock(uint32_t, C2MemoryUsage,
                                          std::shared_ptr<C2LinearBlock>* block) {
    *block = nullptr;
    return C2_OMITTED;
}

c2_status_t C2BlockPool::fetchGraphicBlock(uint32_t, uint32_t, uint32_t, C2MemoryUsage,
                                           std::shared_ptr<C2GraphicBlock>* block) {
    *block = nullptr;
    return C2_OMITTED;
}
