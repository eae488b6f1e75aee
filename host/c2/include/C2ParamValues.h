// The part of the Codec 2.0 support library's <C2Param.h> with which a component answers about the
// values of its parameters. Included by <C2Param.h>.
#pragma once

#include <C2ParamReflection.h>

#include <initializer_list>
#include <tuple>
#include <utility>

// One field of a parameter, or the whole parameter.
struct C2ParamField {
    C2ParamField(C2Param::Index index, uint32_t offset, uint32_t size)
        : _mIndex(index), _mFieldId(offset, size) {}
    // A field by its address inside the parameter, or by its member of the structure.
    template <typename P, typename T>
    C2ParamField(P* param, T* field)
        : C2ParamField(param->index(), OffsetOf(param, field), sizeof(T)) {}
    template <typename P, typename T, typename S>
    C2ParamField(P* param, T S::*member) : C2ParamField(param, &(param->*member)) {}
    // The whole parameter.
    explicit C2ParamField(const C2Param* param)
        : C2ParamField(param->index(), 0, static_cast<uint32_t>(param->size())) {}

    bool operator==(const C2ParamField& other) const {
        return _mIndex == other._mIndex && _mFieldId == other._mFieldId;
    }
    bool operator!=(const C2ParamField& other) const { return !(*this == other); }
    bool operator<(const C2ParamField& other) const {
        return std::tuple(uint32_t{_mIndex}, _mFieldId) <
               std::tuple(uint32_t{other._mIndex}, other._mFieldId);
    }

  private:
    friend struct _C2ParamInspector;

    static uint32_t OffsetOf(const C2Param* param, const void* field) {
        return static_cast<uint32_t>(static_cast<const char*>(field) -
                                     reinterpret_cast<const char*>(param));
    }

    C2Param::Index _mIndex;
    _C2FieldId _mFieldId;  // from the start of the parameter
};

// The values that a field may have.
struct C2FieldSupportedValues {
    enum type_t : uint32_t { EMPTY, RANGE, VALUES, FLAGS };

    // min, min * num / denom + step, ... max.
    struct Range {
        C2Value::Primitive min, max, step, num, denom;
    };

    type_t type = EMPTY;
    Range range;
    std::vector<C2Value::Primitive> values;  // of VALUES and FLAGS

    C2FieldSupportedValues() = default;
    template <typename T>
    C2FieldSupportedValues(T min, T max, T step = T(std::is_floating_point_v<T> ? 0 : 1))
        : type(RANGE), range{min, max, step, T(1), T(1)} {}
    template <typename T>
    C2FieldSupportedValues(bool flags, const std::vector<T>& list)
        : type(flags ? FLAGS : VALUES), values(list.begin(), list.end()) {}
    template <typename T>
    C2FieldSupportedValues(bool flags, std::initializer_list<T> list)
        : type(flags ? FLAGS : VALUES), values(list.begin(), list.end()) {}
};

// A question for the values of a field: all that are possible, or those with the settings as they
// are now.
struct C2FieldSupportedValuesQuery {
    enum type_t : uint32_t { POSSIBLE, CURRENT };

    c2_status_t status = C2_NO_INIT;
    C2FieldSupportedValues values;

    C2FieldSupportedValuesQuery(const C2ParamField& field, type_t type)
        : _mField(field), _mType(type) {}
    static C2FieldSupportedValuesQuery Current(const C2ParamField& field) {
        return C2FieldSupportedValuesQuery(field, CURRENT);
    }
    static C2FieldSupportedValuesQuery Possible(const C2ParamField& field) {
        return C2FieldSupportedValuesQuery(field, POSSIBLE);
    }

    const C2ParamField& field() const { return _mField; }
    type_t type() const { return _mType; }

  private:
    C2ParamField _mField;
    type_t _mType;
};

// A field, or a whole parameter, and the values that it may have; none where that is not the
// matter.
struct C2ParamFieldValues {
    C2ParamField paramOrField;
    std::unique_ptr<C2FieldSupportedValues> values;

    C2ParamFieldValues(const C2ParamField& field,
                       std::unique_ptr<C2FieldSupportedValues> supported = nullptr)
        : paramOrField(field), values(std::move(supported)) {}
};

// Why a setting was refused, or was not taken as it was given.
struct C2SettingResult {
    enum Failure : uint32_t {
        BAD_TYPE,
        BAD_PORT,
        BAD_INDEX,
        READ_ONLY,
        MISMATCH,
        BAD_VALUE,
        CONFLICT,
        UNSUPPORTED,
        INFO_BAD_VALUE,
        INFO_CONFLICT,
    };

    Failure failure;
    C2ParamFieldValues field;
    std::vector<C2ParamFieldValues> conflicts;
};
