// Stand-in for the Codec 2.0 support library's <C2ParamDef.h>: parameters made from a kind, a
// structure and a direction.
#pragma once

#include <C2Param.h>

#include <type_traits>
#include <utility>

// How a structure describes itself: with its fields in the same place,
//
//     struct C2RangeStruct {
//         int32_t min;
//         int32_t max;
//         DEFINE_AND_DESCRIBE_C2STRUCT(Range)
//         C2FIELD(min, "min")
//         C2FIELD(max, "max")
//     };
//
// or with them in the one source where the published headers want them,
//
//     struct C2RangeStruct {
//         int32_t min;
//         int32_t max;
//         DEFINE_C2STRUCT(Range)
//     } C2_PACK;
//     const std::vector<C2FieldDescriptor> C2RangeStruct::FieldList() {
//         return {DESCRIBE_C2FIELD(min, "min") DESCRIBE_C2FIELD(max, "max")};
//     }
//
// Its core index is kParamIndexRange in both.
#define C2_PACK __attribute__((aligned(4)))

#define DEFINE_C2STRUCT(name)                           \
    using _type = C2##name##Struct;                     \
    enum : uint32_t { CORE_INDEX = kParamIndex##name }; \
    static const std::vector<C2FieldDescriptor> FieldList();

#define DEFINE_AND_DESCRIBE_C2STRUCT(name)                                      \
    DEFINE_C2STRUCT(name)                                                       \
    static const std::vector<C2FieldDescriptor> _FIELD_LIST;                    \
    }                                                                           \
    C2_PACK;                                                                    \
    inline const std::vector<C2FieldDescriptor> C2##name##Struct::FieldList() { \
        return _FIELD_LIST;                                                     \
    }                                                                           \
    inline const std::vector<C2FieldDescriptor> C2##name##Struct::_FIELD_LIST = {
// One member as a field: type, extent, offset and size follow from its declaration.
#define DESCRIBE_C2FIELD(member, name) \
    C2FieldDescriptor(reinterpret_cast<decltype(_type::member)*>(offsetof(_type, member)), name),
#define C2FIELD(member, name) DESCRIBE_C2FIELD(member, name)

// A body of one value, for parameters that need no structure of their own.
template <typename V>
struct C2SimpleValueStruct {
    V value;
    C2SimpleValueStruct() = default;
    C2SimpleValueStruct(V v) : value(v) {}
    static const std::vector<C2FieldDescriptor> FieldList() {
        return {C2FieldDescriptor(static_cast<V*>(nullptr), "value")};
    }
};
using C2Int32Value = C2SimpleValueStruct<int32_t>;
using C2Uint32Value = C2SimpleValueStruct<uint32_t>;
using C2Int64Value = C2SimpleValueStruct<int64_t>;
using C2Uint64Value = C2SimpleValueStruct<uint64_t>;
using C2FloatValue = C2SimpleValueStruct<float>;

// A body of as many values as the parameter was allocated for. A flexible structure names its
// element type FlexType and ends in an array of no fixed length.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
template <typename V>
struct C2SimpleArrayStruct {
    using FlexType = V;
    V values[0];
    static const std::vector<C2FieldDescriptor> FieldList() {
        return {C2FieldDescriptor(C2FieldDescriptor::OfType<V>(), 0, "values", 0, sizeof(V))};
    }
};

template <typename V, C2FieldDescriptor::type_t Type>
struct _C2BytesStruct {
    using FlexType = V;
    V value[0];
    static const std::vector<C2FieldDescriptor> FieldList() {
        return {C2FieldDescriptor(Type, 0, "value", 0, sizeof(V))};
    }
};
#pragma GCC diagnostic pop
using C2BlobValue = _C2BytesStruct<uint8_t, C2FieldDescriptor::BLOB>;
using C2StringValue = _C2BytesStruct<char, C2FieldDescriptor::STRING>;

namespace c2_internal {

// Where a parameter belongs, as bits of its index.
enum Place : uint32_t {
    kInput = 0,
    kOutput = 0x10000000,
    kGlobal = 0x20000000,
    kUndefined = 0x30000000,
    kStream = 0x02000000,  // beside an input or output
};

template <typename S, typename = void>
struct IsFlexible : std::false_type {};
template <typename S>
struct IsFlexible<S, std::void_t<typename S::FlexType>> : std::true_type {};

// One concrete parameter: header from T, body from S.
template <typename T, typename S, uint32_t Core, uint32_t Where, bool Flex = IsFlexible<S>::value>
struct Concrete : public T, public S {
    enum : uint32_t { PARAM_TYPE = T::PARAM_KIND | Where | Core };

    Concrete() : T(sizeof(Concrete), PARAM_TYPE), S() {}

    // A stream parameter takes its stream and then the arguments of the structure, any other only
    // the latter.
    template <typename... Args, uint32_t W = Where, std::enable_if_t<(W & kStream) != 0, int> = 0>
    Concrete(unsigned stream, Args&&... args)
        : T(sizeof(Concrete), PARAM_TYPE | C2Param::MakeStreamId(stream)),
          S(std::forward<Args>(args)...) {}
    template <typename Arg, typename... Args, uint32_t W = Where,
              std::enable_if_t<
                  (W & kStream) == 0 && !std::is_base_of_v<Concrete, std::decay_t<Arg>>, int> = 0>
    Concrete(Arg&& arg, Args&&... args)
        : T(sizeof(Concrete), PARAM_TYPE), S(std::forward<Arg>(arg), std::forward<Args>(args)...) {}

    static Concrete* From(C2Param* param) {
        return param != nullptr && param->type().type() == PARAM_TYPE &&
                       param->size() >= sizeof(Concrete)
                   ? static_cast<Concrete*>(static_cast<T*>(param))
                   : nullptr;
    }
    static const Concrete* From(const C2Param* param) { return From(const_cast<C2Param*>(param)); }

    // To match the operator delete, which C2Param has.
    static void* operator new(size_t size) { return ::operator new(size); }
    static void* operator new(size_t, void* place) { return place; }
    static void operator delete(void* memory) { C2Param::operator delete(memory); }
};

template <typename T, typename S, uint32_t Core, uint32_t Where>
struct Concrete<T, S, Core, Where, true> : public T {
    enum : uint32_t {
        PARAM_TYPE = T::PARAM_KIND | Where | Core | C2Param::CoreIndex::IS_FLEX_FLAG
    };
    S m;

    static const std::vector<C2FieldDescriptor> FieldList() { return S::FieldList(); }

    Concrete(const Concrete&) = delete;
    Concrete& operator=(const Concrete&) = delete;

    // count elements, zeroed. Null when a parameter's size can't say so many.
    static std::unique_ptr<Concrete> AllocUnique(size_t count, unsigned stream = 0) {
        if (count > (std::numeric_limits<uint32_t>::max() - sizeof(Concrete)) / kElement)
            return nullptr;
        const auto size = static_cast<uint32_t>(sizeof(Concrete) + count * kElement);
        return std::unique_ptr<Concrete>(::new (C2Param::Allocate(size)) Concrete(size, stream));
    }
    static std::shared_ptr<Concrete> AllocShared(size_t count, unsigned stream = 0) {
        return AllocUnique(count, stream);
    }

    size_t flexCount() const { return (this->size() - sizeof(Concrete)) / kElement; }

    static Concrete* From(C2Param* param) {
        return param != nullptr && param->type().type() == PARAM_TYPE &&
                       param->size() >= sizeof(Concrete) &&
                       (param->size() - sizeof(Concrete)) % kElement == 0
                   ? static_cast<Concrete*>(static_cast<T*>(param))
                   : nullptr;
    }
    static const Concrete* From(const C2Param* param) { return From(const_cast<C2Param*>(param)); }

  private:
    static constexpr size_t kElement = sizeof(typename S::FlexType);
    Concrete(uint32_t size, unsigned stream)
        : T(size, PARAM_TYPE | ((Where & kStream) != 0 ? C2Param::MakeStreamId(stream) : 0)) {}
};

// The structure's own core index, for a template argument that was left out.
template <typename S, typename = void>
struct CoreOf : std::integral_constant<int, 0> {};
template <typename S>
struct CoreOf<S, std::void_t<decltype(S::CORE_INDEX)>>
    : std::integral_constant<int, static_cast<int>(S::CORE_INDEX)> {};

}  // namespace c2_internal

// A parameter of one stream of the component's input or output.
template <typename T, typename S, int ParamIndex = c2_internal::CoreOf<S>::value>
struct C2StreamParam
    : c2_internal::Concrete<T, S, ParamIndex, c2_internal::kUndefined | c2_internal::kStream> {
    using input =
        c2_internal::Concrete<T, S, ParamIndex, c2_internal::kInput | c2_internal::kStream>;
    using output =
        c2_internal::Concrete<T, S, ParamIndex, c2_internal::kOutput | c2_internal::kStream>;
};

// A parameter of the component's input or output port.
template <typename T, typename S, int ParamIndex = c2_internal::CoreOf<S>::value>
struct C2PortParam : c2_internal::Concrete<T, S, ParamIndex, c2_internal::kUndefined> {
    using input = c2_internal::Concrete<T, S, ParamIndex, c2_internal::kInput>;
    using output = c2_internal::Concrete<T, S, ParamIndex, c2_internal::kOutput>;
};

// A parameter of the whole component.
template <typename T, typename S, int ParamIndex = c2_internal::CoreOf<S>::value>
using C2GlobalParam = c2_internal::Concrete<T, S, ParamIndex, c2_internal::kGlobal>;
