// Stand-in for the Codec 2.0 support library's <util/C2InterfaceHelper.h>: a reflector that knows
// the structures which were added to it.
#pragma once

#include <C2ParamDef.h>

#include <mutex>
#include <utility>

// Safe to call from any thread.
class C2ReflectorHelper : public C2ParamReflector {
  public:
    // P: parameters, or structures that other structures hold. The first of a core index stays.
    template <typename... P>
    void addStructDescriptors() {
        std::lock_guard<std::mutex> lock(mLock);
        (mStructures.try_emplace(CoreIndexOf<P>(), CoreIndexOf<P>(), P::FieldList()), ...);
    }

    std::unique_ptr<C2StructDescriptor> describe(C2Param::CoreIndex coreIndex) const override {
        std::lock_guard<std::mutex> lock(mLock);
        const auto found = mStructures.find(coreIndex.coreIndex());
        return found == mStructures.end() ? nullptr
                                          : std::make_unique<C2StructDescriptor>(found->second);
    }

  private:
    template <typename P>
    static constexpr uint32_t CoreIndexOf() {
        if constexpr (std::is_base_of_v<C2Param, P>)
            return C2Param::CoreIndex(uint32_t{P::PARAM_TYPE}).coreIndex();
        else
            return P::CORE_INDEX;
    }

    mutable std::mutex mLock;
    std::map<uint32_t, C2StructDescriptor> mStructures;
};
