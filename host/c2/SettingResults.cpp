#include <util/C2SettingResults.h>

#include <algorithm>

namespace {

template <typename T>
C2FieldSupportedValues All() {
    return {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()};
}

}  // namespace

C2FieldSupportedValues _C2AnyValue(uint32_t type) {
    switch (type) {
        case C2Value::INT32:
            return All<int32_t>();
        case C2Value::UINT32:
        case C2Value::CNTR32:
            return All<uint32_t>();
        case C2Value::INT64:
            return All<int64_t>();
        case C2Value::UINT64:
        case C2Value::CNTR64:
            return All<uint64_t>();
        case C2Value::FLOAT:
            return All<float>();
        default:
            return {};
    }
}

C2SettingResultBuilder C2SettingResultBuilder::BadValue(const C2ParamField& field, bool isInfo) {
    return C2SettingResultBuilder(
        {isInfo ? C2SettingResult::INFO_BAD_VALUE : C2SettingResult::BAD_VALUE, field, {}});
}

C2R::C2R(C2SettingResultBuilder&& fault) : mStatus(C2_BAD_VALUE) {
    *this = plus(std::move(fault));
}

C2R C2R::plus(C2SettingResultBuilder&& fault) {
    mFaults.push_back(std::make_unique<C2SettingResult>(std::move(fault.mResult)));
    C2R all;
    all.mStatus = mStatus;
    all.mFaults.swap(mFaults);
    return all;
}

c2_status_t C2R::retrieveFailures(std::vector<std::unique_ptr<C2SettingResult>>* failures) {
    if (failures != nullptr)
        std::move(mFaults.begin(), mFaults.end(), std::back_inserter(*failures));
    mFaults.clear();
    return mStatus;
}

_C2ParamFields::_C2ParamFields(std::vector<C2ParamFieldValuesBuilder> listed,
                               const std::vector<C2FieldDescriptor>& all)
    : mFields(std::move(listed)) {
    for (const auto& descriptor : all) {
        const uint32_t offset = sizeof(C2Param) + _C2ParamInspector::GetOffset(descriptor);
        const C2ParamField field(0u, offset, _C2ParamInspector::GetSize(descriptor));
        const auto values = _C2AnyValue(descriptor.type());
        if (values.type != C2FieldSupportedValues::EMPTY && find(field) == nullptr)
            mFields.push_back({field, values});
    }
}

const C2FieldSupportedValues* _C2ParamFields::find(const C2ParamField& field) const {
    for (const auto& known : mFields)
        if (_C2ParamInspector::GetOffset(known.field) == _C2ParamInspector::GetOffset(field) &&
            _C2ParamInspector::GetSize(known.field) == _C2ParamInspector::GetSize(field))
            return &known.values;
    return nullptr;
}
