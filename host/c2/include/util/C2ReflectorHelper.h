// The part of the Codec 2.0 support library's <util/C2InterfaceHelper.h> that knows structures.
// Included by it.
#pragma once

#include <C2ParamDef.h>
#include <lx2host/Export.h>

#include <mutex>
#include <utility>

// Knows the structures that were added to it; a structure's own structures don't come along. Safe
// to call from any thread.
class LX2_HOST_API C2ReflectorHelper : public C2ParamReflector {
  public:
    // P: parameters, or structures that other structures hold. The first of a core index stays.
    template <typename... P>
    void addStructDescriptors() {
        (addStructDescriptor(
             std::make_unique<C2StructDescriptor>(CoreIndexOf<P>(), P::FieldList())),
         ...);
    }
    void addStructDescriptor(std::unique_ptr<C2StructDescriptor>&& structure);

    std::unique_ptr<C2StructDescriptor> describe(C2Param::CoreIndex coreIndex) const override;

  private:
    template <typename P>
    static constexpr uint32_t CoreIndexOf() {
        if constexpr (std::is_base_of_v<C2Param, P>)
            return P::PARAM_TYPE;
        else
            return P::CORE_INDEX;
    }

    mutable std::mutex mLock;
    std::map<uint32_t, std::unique_ptr<C2StructDescriptor>> mStructures;
};
