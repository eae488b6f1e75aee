#include "Settings.h"

namespace lx2::example {

Settings::Settings(std::string name, c2_node_id_t id, Make make)
    : mName(std::move(name)), mId(id), mMake(std::move(make)), mParams(mMake()) {}

void Settings::reset() {
    auto fresh = mMake();
    std::lock_guard<std::mutex> guard(mLock);
    if (mParams != nullptr)
        mParams = std::move(fresh);
}

void Settings::close() {
    std::lock_guard<std::mutex> guard(mLock);
    mParams.reset();
}

std::shared_ptr<C2InterfaceHelper> Settings::params() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mParams;
}

std::vector<std::unique_ptr<C2Param>> Settings::update(const std::vector<C2Param*>& params,
                                                       const std::vector<C2Param::Index>& watched) {
    std::vector<std::unique_ptr<C2Param>> before, after, changed;
    std::vector<std::unique_ptr<C2SettingResult>> failures;
    query_vb({}, watched, C2_MAY_BLOCK, &before);
    config_vb(params, C2_MAY_BLOCK, &failures);
    query_vb({}, watched, C2_MAY_BLOCK, &after);
    for (size_t i = 0; i < before.size() && i < after.size(); ++i) {
        if (before[i] != nullptr && after[i] != nullptr && *before[i] != *after[i])
            changed.push_back(std::move(after[i]));
    }
    return changed;
}

c2_status_t Settings::query_vb(const std::vector<C2Param*>& stackParams,
                               const std::vector<C2Param::Index>& heapParamIndices,
                               c2_blocking_t mayBlock,
                               std::vector<std::unique_ptr<C2Param>>* const heapParams) const {
    const auto helper = params();
    return helper == nullptr ? C2_BAD_STATE
                             : helper->query(stackParams, heapParamIndices, mayBlock, heapParams);
}

c2_status_t Settings::config_vb(const std::vector<C2Param*>& params, c2_blocking_t mayBlock,
                                std::vector<std::unique_ptr<C2SettingResult>>* const failures) {
    const auto helper = this->params();
    return helper == nullptr ? C2_BAD_STATE : helper->config(params, mayBlock, failures);
}

c2_status_t Settings::querySupportedParams_nb(
    std::vector<std::shared_ptr<C2ParamDescriptor>>* const params) const {
    const auto helper = this->params();
    return helper == nullptr ? C2_BAD_STATE : helper->querySupportedParams(params);
}

c2_status_t Settings::querySupportedValues_vb(std::vector<C2FieldSupportedValuesQuery>& fields,
                                              c2_blocking_t mayBlock) const {
    const auto helper = params();
    return helper == nullptr ? C2_BAD_STATE : helper->querySupportedValues(fields, mayBlock);
}

}  // namespace lx2::example
