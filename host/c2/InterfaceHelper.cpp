#include <util/C2InterfaceHelper.h>

#include <algorithm>

#define LOG_TAG "C2InterfaceHelper"
#include <log/log.h>

namespace {

// Of several statuses the first that is not C2_OK.
void Note(c2_status_t status, c2_status_t* first) {
    if (*first == C2_OK)
        *first = status;
}

}  // namespace

using Failures = std::vector<std::unique_ptr<C2SettingResult>>;

struct C2InterfaceHelper::Impl {
    const std::shared_ptr<C2ReflectorHelper> reflector;
    mutable std::mutex lock;
    std::vector<std::shared_ptr<ParamHelper>> params;  // in the order of their definition

    const ParamHelper* find(uint32_t index) const;
    static c2_status_t Apply(const ParamHelper& param, const C2Param& wanted, bool mayBlock,
                             Failures* failures);
    c2_status_t set(const C2Param& wanted, bool mayBlock, Failures* failures);
};

C2InterfaceHelper::C2InterfaceHelper(const std::shared_ptr<C2ReflectorHelper>& reflector)
    : mImpl(new Impl{reflector, {}, {}}) {}
C2InterfaceHelper::~C2InterfaceHelper() = default;

std::shared_ptr<C2ReflectorHelper> C2InterfaceHelper::getReflector() const {
    return mImpl->reflector;
}

C2InterfaceHelper::Lock C2InterfaceHelper::lock() const {
    return Lock(mImpl->lock);
}

const C2InterfaceHelper::ParamHelper* C2InterfaceHelper::Impl::find(uint32_t index) const {
    for (const auto& param : params)
        if (param->get()->index() == index)
            return param.get();
    return nullptr;
}

// Lets the setter make of the wanted value what it likes, and takes that.
c2_status_t C2InterfaceHelper::Impl::Apply(const ParamHelper& param, const C2Param& wanted,
                                           bool mayBlock, Failures* failures) {
    auto value = C2Param::Copy(wanted);
    C2R result = param.setter(mayBlock, param, param.get().get(), value.get());
    param.set(std::move(value));
    return result.retrieveFailures(failures);
}

c2_status_t C2InterfaceHelper::Impl::set(const C2Param& wanted, bool mayBlock, Failures* failures) {
    const ParamHelper* param = find(wanted.index());
    if (param == nullptr)
        return C2_BAD_INDEX;
    const auto old = param->get();
    if (!param->setter)
        return wanted == *old ? C2_OK : C2_CORRUPTED;
    if (param->isCalculated)
        return C2_OK;
    if (!param->fits(wanted))
        return C2_BAD_VALUE;
    c2_status_t status = Apply(*param, wanted, mayBlock, failures);
    // In the order of definition, a parameter comes after all that it depends on.
    std::vector<const ParamHelper*> changed = {param};
    for (const auto& other : params) {
        const auto& on = other->dependencies;
        if (std::find_first_of(on.begin(), on.end(), changed.begin(), changed.end()) == on.end())
            continue;
        Note(Apply(*other, *other->get(), mayBlock, failures), &status);
        changed.push_back(other.get());
    }
    return status;
}

void C2InterfaceHelper::addParameter(const std::shared_ptr<ParamHelper>& param) {
    const Lock guard = lock();
    const auto leaveOut = [&](const char* why) {
        ALOGE("%s is left out: %s", param->name.c_str(), why);
    };
    const auto value = param->get();
    if (value == nullptr)
        return leaveOut("it has no value");
    const bool isConstant =
        (param->attributes & C2ParamDescriptor::IS_CONST) == C2ParamDescriptor::IS_CONST;
    if (!param->setter && !isConstant)
        return leaveOut("it has no setter");
    if (mImpl->find(value->index()) != nullptr)
        return leaveOut("it is defined already");
    for (const void* pointer : param->dependencyPointers) {
        const auto dependency =
            std::find_if(mImpl->params.begin(), mImpl->params.end(),
                         [&](const auto& other) { return other->pointer == pointer; });
        if (dependency == mImpl->params.end())
            return leaveOut("it depends on what is not defined before it");
        param->dependencies.push_back(dependency->get());
    }
    mImpl->reflector->addStructDescriptor(std::make_unique<C2StructDescriptor>(*param->structure));
    mImpl->params.push_back(param);
    if (!param->dependencies.empty())
        Impl::Apply(*param, *value, true, nullptr);
}

c2_status_t C2InterfaceHelper::config(const std::vector<C2Param*>& params, c2_blocking_t mayBlock,
                                      Failures* const failures, bool updateParams,
                                      std::vector<std::shared_ptr<C2Param>>*) {
    const Lock guard = lock();
    c2_status_t status = C2_OK;
    for (const C2Param* param : params)
        Note(param != nullptr ? mImpl->set(*param, mayBlock == C2_MAY_BLOCK, failures)
                              : C2_BAD_VALUE,
             &status);
    for (C2Param* param : params) {
        const ParamHelper* known =
            param != nullptr && updateParams ? mImpl->find(param->index()) : nullptr;
        if (known != nullptr)
            param->updateFrom(*known->get());
    }
    return status;
}

c2_status_t C2InterfaceHelper::query(
    const std::vector<C2Param*>& stackParams, const std::vector<C2Param::Index>& heapParamIndices,
    c2_blocking_t, std::vector<std::unique_ptr<C2Param>>* const heapParams) const {
    const Lock guard = lock();
    c2_status_t status = C2_OK;
    for (C2Param* param : stackParams) {
        if (param == nullptr) {
            Note(C2_BAD_VALUE, &status);
            continue;
        }
        const ParamHelper* known = mImpl->find(param->index());
        if (known != nullptr && param->updateFrom(*known->get()))
            continue;
        Note(known != nullptr ? C2_NO_MEMORY : C2_BAD_INDEX, &status);
        param->invalidate();
    }
    if (heapParams == nullptr && !heapParamIndices.empty()) {
        Note(C2_BAD_VALUE, &status);
        return status;
    }
    for (const C2Param::Index index : heapParamIndices) {
        const ParamHelper* known = mImpl->find(index);
        heapParams->push_back(known != nullptr ? C2Param::Copy(*known->get()) : nullptr);
        if (known == nullptr)
            Note(C2_BAD_INDEX, &status);
    }
    return status;
}

c2_status_t C2InterfaceHelper::querySupportedParams(
    std::vector<std::shared_ptr<C2ParamDescriptor>>* const params) const {
    if (params == nullptr)
        return C2_BAD_VALUE;
    const Lock guard = lock();
    for (const auto& param : mImpl->params) {
        std::vector<C2Param::Index> dependencies;
        for (const ParamHelper* dependency : param->dependencies)
            dependencies.push_back(dependency->get()->index());
        params->push_back(std::make_shared<C2ParamDescriptor>(
            param->get()->index(), C2ParamDescriptor::attrib_t(param->attributes),
            C2String(param->name), std::move(dependencies)));
    }
    return C2_OK;
}

c2_status_t C2InterfaceHelper::querySupportedValues(
    std::vector<C2FieldSupportedValuesQuery>& fields, c2_blocking_t) const {
    const Lock guard = lock();
    for (auto& query : fields) {
        const ParamHelper* param = mImpl->find(_C2ParamInspector::GetIndex(query.field()));
        const auto* values = param != nullptr ? param->fields.find(query.field()) : nullptr;
        query.status = param == nullptr ? C2_BAD_INDEX : values == nullptr ? C2_NOT_FOUND : C2_OK;
        query.values = values != nullptr ? *values : C2FieldSupportedValues();
    }
    return C2_OK;
}
