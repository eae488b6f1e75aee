#include <C2Buffer.h>

namespace {

// C2Buffer's block constructors are for its subclasses.
struct PublicBuffer : C2Buffer {
    explicit PublicBuffer(const C2ConstLinearBlock& block)
        : C2Buffer(std::vector<C2ConstLinearBlock>{block}) {}
    explicit PublicBuffer(const C2ConstGraphicBlock& block)
        : C2Buffer(std::vector<C2ConstGraphicBlock>{block}) {}
};

}  // namespace

C2Buffer::C2Buffer(const std::vector<C2ConstLinearBlock>& blocks) : mData(blocks) {}
C2Buffer::C2Buffer(const std::vector<C2ConstGraphicBlock>& blocks) : mData(blocks) {}
C2Buffer::~C2Buffer() = default;

const std::vector<std::shared_ptr<const C2Info>> C2Buffer::info() const {
    std::vector<std::shared_ptr<const C2Info>> all;
    for (const auto& entry : mInfos)
        all.push_back(entry.second);
    return all;
}

c2_status_t C2Buffer::setInfo(const std::shared_ptr<C2Info>& info) {
    if (info == nullptr)
        return C2_BAD_VALUE;
    mInfos[info->coreIndex().coreIndex()] = info;
    return C2_OK;
}

bool C2Buffer::hasInfo(C2Param::Type index) const {
    return mInfos.count(index.coreIndex()) != 0;
}

std::shared_ptr<C2Buffer> C2Buffer::CreateLinearBuffer(const C2ConstLinearBlock& block) {
    return std::make_shared<PublicBuffer>(block);
}

std::shared_ptr<C2Buffer> C2Buffer::CreateGraphicBuffer(const C2ConstGraphicBlock& block) {
    return std::make_shared<PublicBuffer>(block);
}

// As of a buffer of one block; the index keeps only what names the structure.
C2InfoBuffer C2InfoBuffer::CreateLinearBuffer(C2Param::CoreIndex index,
                                              const C2ConstLinearBlock& block) {
    return C2InfoBuffer(index.coreIndex(), PublicBuffer(block).data());
}

C2InfoBuffer C2InfoBuffer::CreateGraphicBuffer(C2Param::CoreIndex index,
                                               const C2ConstGraphicBlock& block) {
    return C2InfoBuffer(index.coreIndex(), PublicBuffer(block).data());
}
