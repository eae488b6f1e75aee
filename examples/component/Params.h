// What the parameters of every video component begin with.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Component.h>
#include <C2Config.h>
#include <util/C2InterfaceHelper.h>

#include <memory>

#include "Settings.h"

namespace lx2::example {

class ComponentParams : public C2InterfaceHelper {
  protected:
    // Takes a value as it is.
    template <typename P>
    static C2R Take(bool, C2P<P>&) {
        return C2R::Ok();
    }
    // Keeps the value that it had in place of one that is not supported.
    template <typename P>
    static C2R TakeSupported(bool, const C2P<P>& old, C2P<P>& me) {
        if (me.F(me.v.value).supportsAtAll(me.v.value))
            return C2R::Ok();
        me.set().value = old.v.value;
        return C2R(C2SettingResultBuilder::BadValue(me.F(me.v.value)));
    }

    ComponentParams(const std::shared_ptr<C2ReflectorHelper>& reflector, const char* name,
                    C2Component::kind_t kind, C2BufferData::type_t input,
                    C2BufferData::type_t output)
        : C2InterfaceHelper(reflector) {
        setDerivedInstance(this);
        addConstant(mName, C2_PARAMKEY_COMPONENT_NAME, TextParam<C2ComponentNameSetting>(name));
        addConstant(mKind, C2_PARAMKEY_COMPONENT_KIND,
                    std::make_shared<C2ComponentKindSetting>(kind));
        addConstant(mDomain, C2_PARAMKEY_COMPONENT_DOMAIN,
                    std::make_shared<C2ComponentDomainSetting>(C2Component::DOMAIN_VIDEO));
        addConstant(mInputType, C2_PARAMKEY_INPUT_STREAM_BUFFER_TYPE,
                    std::make_shared<C2StreamBufferTypeSetting::input>(0u, input));
        addConstant(mOutputType, C2_PARAMKEY_OUTPUT_STREAM_BUFFER_TYPE,
                    std::make_shared<C2StreamBufferTypeSetting::output>(0u, output));
        const auto basic = output == C2BufferData::GRAPHIC ? C2BlockPool::BASIC_GRAPHIC
                                                           : C2BlockPool::BASIC_LINEAR;
        std::shared_ptr<Pools> pools = Pools::AllocShared(1);
        pools->m.values[0] = basic;
        add(mPools, C2_PARAMKEY_OUTPUT_BLOCK_POOLS, pools, Take<Pools>);
    }

    template <typename P>
    void addConstant(std::shared_ptr<P>& param, const char* key, std::shared_ptr<P> value) {
        addParameter(DefineParam(param, key).withConstValue(value).build());
    }
    // Fields may have any values.
    template <typename P, typename... Others>
    void add(std::shared_ptr<P>& param, const char* key, std::shared_ptr<P> value,
             C2R (*setter)(bool, C2P<P>&, const C2P<Others>&...),
             std::shared_ptr<Others>&... others) {
        addParameter(
            DefineParam(param, key).withDefault(value).withSetter(setter, others...).build());
    }

  private:
    using Pools = C2PortBlockPoolsTuning::output;

    std::shared_ptr<C2ComponentNameSetting> mName;
    std::shared_ptr<C2ComponentKindSetting> mKind;
    std::shared_ptr<C2ComponentDomainSetting> mDomain;
    std::shared_ptr<C2StreamBufferTypeSetting::input> mInputType;
    std::shared_ptr<C2StreamBufferTypeSetting::output> mOutputType;
    std::shared_ptr<Pools> mPools;
};

}  // namespace lx2::example
