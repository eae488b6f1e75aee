#include "Parameters.h"

#include <C2PlatformSupport.h>

#include <charconv>
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

bool CanBeRead(const ReflectedParamUpdater::FieldDesc& field, const std::string& value) {
    if (field.field == nullptr)
        return false;
    const C2FieldDescriptor::type_t type = field.field->type();
    if (type != C2FieldDescriptor::INT32 && type != C2FieldDescriptor::UINT32)
        return type == C2FieldDescriptor::STRING;
    int32_t number = 0;
    const char* end = value.data() + value.size();
    const auto result = std::from_chars(value.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
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
        if (mUpdater.fields().count(key) == 0)
            return "the component has no parameter \"" + key + "\"";
        if (!CanBeRead(mUpdater.fields().at(key), value))
            return key + " can't be set to \"" + value + "\"";
        std::vector<C2Param::Index> indices;
        std::vector<std::unique_ptr<C2Param>> params;
        mUpdater.getParamIndicesFromMessage({{key, value}}, &indices);
        component->query_vb({}, indices, C2_MAY_BLOCK, &params);
        mUpdater.updateParamsFromMessage({{key, value}}, &params);
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
