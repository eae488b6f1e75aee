#include "Parameters.h"

#include <C2PlatformSupport.h>

#include <cstdio>
#include <map>
#include <memory>

namespace lx2::example {

namespace {

const char* NameOf(C2FieldDescriptor::type_t type) {
    static const std::map<C2FieldDescriptor::type_t, const char*> kNames = {
        {C2FieldDescriptor::INT32, "int32"}, {C2FieldDescriptor::UINT32, "uint32"},
        {C2FieldDescriptor::INT64, "int64"}, {C2FieldDescriptor::UINT64, "uint64"},
        {C2FieldDescriptor::FLOAT, "float"}, {C2FieldDescriptor::STRING, "text"},
    };
    const auto found = kNames.find(type);
    return found == kNames.end() ? "not to be set by text" : found->second;
}

}  // namespace

Parameters::Parameters(const C2ComponentInterface& component) {
    std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors;
    component.querySupportedParams_nb(&descriptors);
    mUpdater.addParamDesc(android::GetCodec2PlatformComponentStore()->getParamReflector(),
                          descriptors);
}

std::string Parameters::set(C2ComponentInterface* component,
                            const std::vector<std::pair<std::string, std::string>>& settings) {
    for (const auto& [key, value] : settings) {
        const auto field = mUpdater.fields().find(key);
        if (field == mUpdater.fields().end())
            return "the component has no parameter \"" + key + "\"";
        std::vector<std::unique_ptr<C2Param>> params;
        component->query_vb({}, {field->second.param->index()}, C2_MAY_BLOCK, &params);
        if (mUpdater.applyMessage({{key, value}}, &params).at(key) != C2_OK)
            return key + " can't be set to \"" + value + "\"";
        std::vector<C2Param*> changed;
        for (const auto& param : params)
            changed.push_back(param.get());
        std::vector<std::unique_ptr<C2SettingResult>> failures;
        const c2_status_t status = component->config_vb(changed, C2_MAY_BLOCK, &failures);
        if (status != C2_OK || !failures.empty())
            return "the component refuses " + key + "=" + value;
    }
    return "";
}

void Parameters::list() const {
    for (const auto& [key, field] : mUpdater.fields())
        printf("%-48s %s\n", key.c_str(),
               field.field == nullptr ? "whole parameter" : NameOf(field.field->type()));
}

}  // namespace lx2::example
