#include <util/C2ReflectorHelper.h>

void C2ReflectorHelper::addStructDescriptor(std::unique_ptr<C2StructDescriptor>&& structure) {
    std::lock_guard<std::mutex> lock(mLock);
    const uint32_t index = structure->coreIndex().coreIndex();
    mStructures.try_emplace(index, std::move(structure));
}

std::unique_ptr<C2StructDescriptor> C2ReflectorHelper::describe(
    C2Param::CoreIndex coreIndex) const {
    std::lock_guard<std::mutex> lock(mLock);
    const auto found = mStructures.find(coreIndex.coreIndex());
    return found == mStructures.end() ? nullptr
                                      : std::make_unique<C2StructDescriptor>(*found->second);
}
