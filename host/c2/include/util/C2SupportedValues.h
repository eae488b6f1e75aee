// The part of the Codec 2.0 support library's <util/C2InterfaceHelper.h> with which a component
// says what values its fields may have. Included by it.
#pragma once

#include <C2Param.h>
#include <lx2host/Export.h>

#include <cmath>
#include <initializer_list>
#include <utility>

// A field and its values: what withFields() takes.
struct C2ParamFieldValuesBuilder {
    C2ParamField field;
    C2FieldSupportedValues values;
};

// All values of a kind; none of NO_INIT.
LX2_HOST_API C2FieldSupportedValues _C2AnyValue(uint32_t type);

// A field on the way to its values: C2F(mSize, width).inRange(2, 4096, 2). T: a number or an
// enumeration; of an array its elements.
template <typename T>
class _C2FieldToDescribe {
  public:
    explicit _C2FieldToDescribe(const C2ParamField& field) : mField(field) {}

    C2ParamFieldValuesBuilder any() const { return {mField, _C2AnyValue(C2Value::TypeFor<T>())}; }
    C2ParamFieldValuesBuilder inRange(T min, T max) const {
        return {mField, {Number(min), Number(max)}};
    }
    C2ParamFieldValuesBuilder inRange(T min, T max, T step) const {
        return {mField, {Number(min), Number(max), Number(step)}};
    }
    C2ParamFieldValuesBuilder greaterThan(T value) const {
        const auto max = std::numeric_limits<decltype(Number(value))>::max();
        if constexpr (std::is_floating_point_v<T>)
            return {mField, {std::nextafter(value, max), max}};
        else
            return {mField, {Number(value) + 1, max}};
    }
    C2ParamFieldValuesBuilder oneOf(std::initializer_list<T> list) const {
        return listed(false, list);
    }
    C2ParamFieldValuesBuilder flags(std::initializer_list<T> list) const {
        return listed(true, list);
    }

  private:
    // The number that an enumeration is of.
    static constexpr auto Number(T value) {
        if constexpr (std::is_enum_v<T>)
            return static_cast<std::underlying_type_t<T>>(value);
        else
            return value;
    }
    C2ParamFieldValuesBuilder listed(bool flags, std::initializer_list<T> list) const {
        std::vector<decltype(Number(T()))> numbers;
        for (const T value : list)
            numbers.push_back(Number(value));
        return {mField, {flags, numbers}};
    }

    C2ParamField mField;
};

// Where a number or the elements of an array lie. (An array of no fixed length is no array to the
// type traits.)
template <typename T>
T* _C2FirstOf(T& field) {
    return &field;
}
template <typename T>
T* _C2FirstOf(T* elements) {
    return elements;
}

// A field of a parameter that need not be made yet: of zeroed memory of its size.
template <typename P, typename Field>
auto _C2DescribeField(const std::shared_ptr<P>&, Field fieldOf) {
    alignas(P) static char memory[sizeof(P)];
    auto* param = reinterpret_cast<P*>(memory);
    auto& field = fieldOf(*param);
    using T = std::remove_pointer_t<decltype(_C2FirstOf(field))>;
    return _C2FieldToDescribe<T>(C2ParamField(param, &field));
}

// The field of the parameter that a shared pointer is for: C2F(mSize, width).
#define C2F(param, field) \
    _C2DescribeField(     \
        param, [](auto& p) -> auto& { return p.field; })
