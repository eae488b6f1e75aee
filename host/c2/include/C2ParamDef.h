// Stand-in for the Codec 2.0 support library's <C2ParamDef.h>: parameters made from a kind, a
// structure and a direction.
#pragma once

#include <C2Param.h>

#include <type_traits>
#include <utility>
#include <vector>

// How a structure describes itself:
//
//     struct RangeStruct {
//         int32_t min;
//         int32_t max;
//         C2STRUCT_FIELDS(RangeStruct, kParamIndexRange, C2FIELD(min, "min"), C2FIELD(max, "max"))
//     };
//
// A flexible structure, which ends in an array of no fixed length, says so with
// C2FLEX_STRUCT_FIELDS and the type of that array's elements.
#define C2STRUCT_FIELDS(type, kind, ...)                \
    static constexpr uint32_t PARAM_KIND = (kind);      \
    static std::vector<C2FieldDescriptor> FieldList() { \
        using _type = type;                             \
        return {__VA_ARGS__};                           \
    }
#define C2FLEX_STRUCT_FIELDS(type, kind, flexType, ...) \
    using FlexType = flexType;                          \
    C2STRUCT_FIELDS(type, (kind) | C2Param::IS_FLEX_FLAG, __VA_ARGS__)

// One member as a field: type, extent, offset and size follow from its declaration.
#define C2FIELD(member, name)                                                   \
    c2_internal::FieldOf<std::remove_reference_t<decltype(c2_internal::Element( \
        std::declval<_type&>().member, 0))>>(name, offsetof(_type, member),     \
                                             sizeof(std::declval<_type&>().member))

namespace c2_internal {

// The type of an array's elements, and of anything else itself.
template <typename T>
T& Element(T* array, int);
template <typename T>
T& Element(T& value, long);

template <typename T>
C2FieldDescriptor FieldOf(const char* name, size_t offset, size_t size) {
    return C2FieldDescriptor(C2FieldDescriptor::TypeOf<T>(),
                             static_cast<uint32_t>(size / sizeof(T)), name, offset, size);
}

}  // namespace c2_internal

// A body of one value, for parameters that need no structure of their own.
template <typename V, int ParamIndex = 0>
struct C2SimpleValueStruct {
    V value{};
    C2SimpleValueStruct() = default;
    C2SimpleValueStruct(V v) : value(v) {}
    C2STRUCT_FIELDS(C2SimpleValueStruct, ParamIndex, C2FIELD(value, "value"))
};
using C2Int32Value = C2SimpleValueStruct<int32_t>;
using C2Uint32Value = C2SimpleValueStruct<uint32_t>;
using C2Int64Value = C2SimpleValueStruct<int64_t>;
using C2Uint64Value = C2SimpleValueStruct<uint64_t>;
using C2FloatValue = C2SimpleValueStruct<float>;

// A body of as many values as the parameter was allocated for. A flexible structure names its
// element type FlexType and ends in the member m of no fixed length.
template <typename V>
struct C2SimpleArrayStruct {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
    struct {
        V value[0];
    } m;
#pragma GCC diagnostic pop
    C2FLEX_STRUCT_FIELDS(C2SimpleArrayStruct, 0, V, C2FIELD(m.value, "value"))
};
using C2BlobValue = C2SimpleArrayStruct<uint8_t>;
using C2StringValue = C2SimpleArrayStruct<char>;

namespace c2_internal {

template <typename S, typename = void>
struct IsFlexible : std::false_type {};
template <typename S>
struct IsFlexible<S, std::void_t<typename S::FlexType>> : std::true_type {};

// One concrete parameter: header from T, body from S.
template <typename T, typename S, uint32_t IndexBits, bool Flex = IsFlexible<S>::value>
struct Concrete : public T, public S {
    static constexpr uint32_t PARAM_TYPE = T::PARAM_KIND_BITS | IndexBits;

    Concrete() : T(sizeof(Concrete), PARAM_TYPE), S() {}

    // A stream parameter takes its stream and then the arguments of the structure, any other only
    // the latter.
    template <typename... Args, uint32_t Bits = IndexBits,
              std::enable_if_t<(Bits & C2Param::IS_STREAM_FLAG) != 0, int> = 0>
    explicit Concrete(uint32_t stream, Args&&... args)
        : T(sizeof(Concrete), PARAM_TYPE | (stream << C2Param::STREAM_ID_SHIFT)),
          S{std::forward<Args>(args)...} {}
    template <typename Arg, typename... Args, uint32_t Bits = IndexBits,
              std::enable_if_t<(Bits & C2Param::IS_STREAM_FLAG) == 0 &&
                                   !std::is_base_of_v<Concrete, std::decay_t<Arg>>,
                               int> = 0>
    explicit Concrete(Arg&& arg, Args&&... args)
        : T(sizeof(Concrete), PARAM_TYPE), S{std::forward<Arg>(arg), std::forward<Args>(args)...} {}

    static Concrete* From(C2Param* param) {
        return param != nullptr && param->type().type() == PARAM_TYPE &&
                       param->size() >= sizeof(Concrete)
                   ? static_cast<Concrete*>(static_cast<T*>(param))
                   : nullptr;
    }
    static const Concrete* From(const C2Param* param) { return From(const_cast<C2Param*>(param)); }
};

template <typename T, typename S, uint32_t IndexBits>
struct Concrete<T, S, IndexBits, true> : public T, public S {
    static constexpr uint32_t PARAM_TYPE = T::PARAM_KIND_BITS | IndexBits | C2Param::IS_FLEX_FLAG;

    // count elements, zeroed, after the members of fixed length.
    static std::unique_ptr<Concrete> AllocUnique(size_t count, uint32_t stream = 0) {
        const uint32_t size = SizeFor(count);
        return std::unique_ptr<Concrete>(new (size) Concrete(size, stream));
    }
    static std::shared_ptr<Concrete> AllocShared(size_t count, uint32_t stream = 0) {
        return AllocUnique(count, stream);
    }

    size_t flexCount() const {
        return this->size() < sizeof(Concrete)
                   ? 0
                   : (this->size() - sizeof(Concrete)) / sizeof(typename S::FlexType);
    }

    static Concrete* From(C2Param* param) {
        return param != nullptr && param->type().type() == PARAM_TYPE
                   ? static_cast<Concrete*>(static_cast<T*>(param))
                   : nullptr;
    }
    static const Concrete* From(const C2Param* param) { return From(const_cast<C2Param*>(param)); }

    static void operator delete(void* memory) { C2Param::operator delete(memory); }

  private:
    static uint32_t SizeFor(size_t count) {
        return static_cast<uint32_t>(sizeof(Concrete) + count * sizeof(typename S::FlexType));
    }
    static void* operator new(size_t, uint32_t size) {
        return memset(::operator new(size), 0, size);
    }
    static void operator delete(void* memory, uint32_t) { ::operator delete(memory); }
    Concrete(uint32_t size, uint32_t stream)
        : T(size, PARAM_TYPE | (stream << C2Param::STREAM_ID_SHIFT)) {}
};

}  // namespace c2_internal

// A parameter of one stream of the component's input or output.
template <typename T, typename S, int ParamIndex = static_cast<int>(S::PARAM_KIND)>
struct C2StreamParam {
    static constexpr uint32_t STREAM_BITS = C2Param::IS_STREAM_FLAG | uint32_t(ParamIndex);
    using input = c2_internal::Concrete<T, S, STREAM_BITS | C2Param::DIR_INPUT>;
    using output = c2_internal::Concrete<T, S, STREAM_BITS | C2Param::DIR_OUTPUT>;
};

// A parameter of the component's input or output port.
template <typename T, typename S, int ParamIndex = static_cast<int>(S::PARAM_KIND)>
struct C2PortParam {
    using input = c2_internal::Concrete<T, S, uint32_t(ParamIndex) | C2Param::DIR_INPUT>;
    using output = c2_internal::Concrete<T, S, uint32_t(ParamIndex) | C2Param::DIR_OUTPUT>;
};

// A parameter of the whole component.
template <typename T, typename S, int ParamIndex = static_cast<int>(S::PARAM_KIND)>
using C2GlobalParam = c2_internal::Concrete<T, S, uint32_t(ParamIndex) | C2Param::DIR_GLOBAL>;
