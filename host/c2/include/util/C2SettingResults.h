// The part of the Codec 2.0 support library's <util/C2InterfaceHelper.h> that setters are written
// with: what a setter reads, changes and answers. Included by it.
#pragma once

#include <C2ParamInternal.h>
#include <lx2host/Export.h>
#include <util/C2SupportedValues.h>

#include <cstring>
#include <utility>

// One fault of a setting.
class LX2_HOST_API C2SettingResultBuilder {
  public:
    // isInfo: of a parameter that only tells something.
    static C2SettingResultBuilder BadValue(const C2ParamField& field, bool isInfo = false);

  private:
    friend class C2R;
    explicit C2SettingResultBuilder(C2SettingResult&& result) : mResult(std::move(result)) {}
    C2SettingResult mResult;
};

// What a setter answers. A setting may have faults and be C2_OK all the same, as far as it was
// taken.
class LX2_HOST_API C2R {
  public:
    static C2R Ok() { return C2R(); }
    // C2_BAD_VALUE and its reason.
    C2R(C2SettingResultBuilder&& fault);

    // The same with a further fault; the status stays. *this is used up.
    C2R plus(C2SettingResultBuilder&& fault);

    // Moves the faults to the end of the list and gives the status.
    c2_status_t retrieveFailures(std::vector<std::unique_ptr<C2SettingResult>>* failures);

  private:
    C2R() = default;
    c2_status_t mStatus = C2_OK;
    std::vector<std::unique_ptr<C2SettingResult>> mFaults;
};

// Whether a value is among those supported. T: a number.
template <typename T>
bool _C2Supports(const C2FieldSupportedValues& values, T value) {
    const auto number = [](const C2Value::Primitive& primitive) {
        T result;
        memcpy(&result, &primitive, sizeof(result));
        return result;
    };
    switch (values.type) {
        case C2FieldSupportedValues::RANGE: {
            const T min = number(values.range.min), step = number(values.range.step);
            if (value < min || value > number(values.range.max))
                return false;
            if constexpr (std::is_integral_v<T>)
                return step == 0 || (uint64_t(value) - uint64_t(min)) % uint64_t(step) == 0;
            return true;
        }
        case C2FieldSupportedValues::VALUES:
            for (const auto& each : values.values)
                if (number(each) == value)
                    return true;
            return false;
        case C2FieldSupportedValues::FLAGS: {
            uint64_t known = 0;
            for (const auto& each : values.values)
                known |= uint64_t(number(each));
            return (uint64_t(value) & ~known) == 0;
        }
        default:
            return false;
    }
}

// A field of a parameter that a setter looks at.
template <typename T>
class _C2FieldOfSetter : public C2ParamField {
  public:
    _C2FieldOfSetter(const C2ParamField& field, const C2FieldSupportedValues& values)
        : C2ParamField(field), mValues(values) {}

    bool supportsAtAll(T value) const {
        if constexpr (std::is_enum_v<T>)
            return _C2Supports(mValues, static_cast<std::underlying_type_t<T>>(value));
        else
            return _C2Supports(mValues, value);
    }
    // Lets every value pass, as the platform's does: a setter that is to refuse one asks
    // supportsAtAll().
    C2R validatePossible(T) const { return C2R::Ok(); }

  private:
    C2FieldSupportedValues mValues;
};

// The values of one parameter's fields.
class LX2_HOST_API _C2ParamFields {
  public:
    // Fields that are not among the listed take any value of their kind.
    _C2ParamFields() = default;
    _C2ParamFields(std::vector<C2ParamFieldValuesBuilder> listed,
                   const std::vector<C2FieldDescriptor>& all);
    // Null for what is no field.
    const C2FieldSupportedValues* find(const C2ParamField& field) const;

  private:
    std::vector<C2ParamFieldValuesBuilder> mFields;
};

// A parameter in a setter: its own, or one that it depends on.
template <typename P>
class C2P {
  public:
    C2P(P* param, const _C2ParamFields& fields) : v(*param), mParam(param), mFields(fields) {}

    const P& v;
    P& set() { return *mParam; }

    // field: a member of v.
    template <typename T>
    _C2FieldOfSetter<T> F(const T& member) const {
        const C2ParamField field(mParam, &member);
        const auto* values = mFields.find(field);
        return {field, values != nullptr ? *values : C2FieldSupportedValues()};
    }

  private:
    P* mParam;
    const _C2ParamFields& mFields;
};
