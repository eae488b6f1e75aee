// The part of the Codec 2.0 support library's <C2Param.h> with which a component describes its
// parameters: fields, structures, parameters, and who answers for them. Included by <C2Param.h>.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

// Where a field lies in its structure, bytes.
struct _C2FieldId {
    _C2FieldId(uint32_t offset, uint32_t size) : _mOffset(offset), _mSize(size) {}
    bool operator==(const _C2FieldId& other) const {
        return _mOffset == other._mOffset && _mSize == other._mSize;
    }
    // By offset; a field comes after the structure that it begins.
    bool operator<(const _C2FieldId& other) const {
        return _mOffset != other._mOffset ? _mOffset < other._mOffset : _mSize > other._mSize;
    }

  private:
    friend struct _C2ParamInspector;
    uint32_t _mOffset;
    uint32_t _mSize;
};

// One field of a structure.
struct C2FieldDescriptor {
    enum type_t : uint32_t {
        INT32 = C2Value::INT32,
        UINT32 = C2Value::UINT32,
        CNTR32 = C2Value::CNTR32,
        INT64 = C2Value::INT64,
        UINT64 = C2Value::UINT64,
        CNTR64 = C2Value::CNTR64,
        FLOAT = C2Value::FLOAT,
        STRING = 0x100,         // char array, ends in a zero
        BLOB,                   // uint8_t array
        STRUCT_FLAG = 0x20000,  // with the core index of the structure
    };

    // A value that has a name, as an enumeration's have. Nobody names one here.
    using NamedValueType = std::pair<C2String, C2Value::Primitive>;
    using NamedValuesType = std::vector<NamedValueType>;

    // offset: of the structure; size: of one element, bytes.
    C2FieldDescriptor(uint32_t type, uint32_t extent, C2String name, size_t offset, size_t size)
        : _mType(static_cast<type_t>(type)),
          _mExtent(extent),
          _mName(std::move(name)),
          _mFieldId(static_cast<uint32_t>(offset), static_cast<uint32_t>(size)) {}
    // A member that would lie at this address if its structure began at 0.
    template <typename T>
    C2FieldDescriptor(const T* offset, const char* name)
        : C2FieldDescriptor(OfType<std::remove_all_extents_t<T>, std::is_array_v<T>>(),
                            std::is_array_v<T> ? std::extent_v<T> : 1, name,
                            reinterpret_cast<uintptr_t>(offset),
                            sizeof(std::remove_all_extents_t<T>)) {}

    type_t type() const { return _mType; }
    size_t extent() const { return _mExtent; }  // number of elements; 0 for a flexible array
    C2String name() const { return _mName; }
    const NamedValuesType& namedValues() const { return _mNamedValues; }

  private:
    template <typename V>
    friend struct C2SimpleArrayStruct;
    friend struct _C2ParamInspector;

    // What the type of a member says of it. T: the element type of an array.
    template <typename T, bool Array = false>
    static constexpr uint32_t OfType() {
        if constexpr (C2Value::TypeFor<T>() != C2Value::NO_INIT)
            return C2Value::TypeFor<T>();
        else if constexpr (std::is_same_v<T, C2Param::Index>)
            return UINT32;
        else if constexpr (Array && std::is_same_v<T, char>)
            return STRING;
        else if constexpr (Array && std::is_same_v<T, uint8_t>)
            return BLOB;
        else
            return STRUCT_FLAG | uint32_t{T::CORE_INDEX};
    }

    type_t _mType;
    uint32_t _mExtent;
    C2String _mName;
    NamedValuesType _mNamedValues;
    _C2FieldId _mFieldId;
};

// A structure: its core index and its fields in order.
class C2StructDescriptor {
  public:
    using field_iterator = std::vector<C2FieldDescriptor>::const_iterator;

    C2StructDescriptor(C2Param::CoreIndex coreIndex, const std::vector<C2FieldDescriptor>& fields)
        : mType(coreIndex.coreIndex()), mFields(fields) {}
    C2StructDescriptor(C2Param::CoreIndex, std::vector<C2FieldDescriptor>&&) = delete;
    // Of a structure that describes itself.
    template <typename S>
    explicit C2StructDescriptor(S*) : C2StructDescriptor(uint32_t{S::CORE_INDEX}, S::FieldList()) {}

    C2Param::CoreIndex coreIndex() const { return mType; }
    size_t numFields() const { return mFields.size(); }
    field_iterator cbegin() const { return mFields.cbegin(); }
    field_iterator cend() const { return mFields.cend(); }
    field_iterator begin() const { return cbegin(); }
    field_iterator end() const { return cend(); }

  private:
    const C2Param::CoreIndex mType;
    const std::vector<C2FieldDescriptor> mFields;
};

// A parameter that a component has.
struct C2ParamDescriptor {
    enum attrib_t : uint32_t {
        IS_REQUIRED = 1u << 0,
        IS_PERSISTENT = 1u << 1,
        IS_STRICT = 1u << 2,
        IS_READ_ONLY = 1u << 3,
        IS_HIDDEN = 1u << 4,
        IS_INTERNAL = 1u << 5,
        IS_CONST = 1u << 6 | IS_READ_ONLY,
    };

    C2ParamDescriptor(bool isRequired, const char* name, C2Param::Index index)
        : C2ParamDescriptor(index, attrib_t(uint32_t{isRequired} | IS_PERSISTENT), name) {}
    C2ParamDescriptor(C2Param::Index index, attrib_t attrib, const char* name)
        : C2ParamDescriptor(index, attrib, name, {}) {}
    C2ParamDescriptor(C2Param::Index index, attrib_t attrib, C2String&& name,
                      std::vector<C2Param::Index>&& dependencies)
        : _mIndex(index),
          _mAttrib(attrib),
          _mName(std::move(name)),
          _mDependencies(std::move(dependencies)) {}

    C2Param::Index index() const { return _mIndex; }
    C2String name() const { return _mName; }
    bool isRequired() const { return (_mAttrib & IS_REQUIRED) != 0; }
    bool isPersistent() const { return (_mAttrib & IS_PERSISTENT) != 0; }
    bool isStrict() const { return (_mAttrib & IS_STRICT) != 0; }
    bool isReadOnly() const { return (_mAttrib & IS_READ_ONLY) != 0; }
    bool isVisible() const { return (_mAttrib & IS_HIDDEN) == 0; }
    bool isPublic() const { return (_mAttrib & IS_INTERNAL) == 0; }
    const std::vector<C2Param::Index>& dependencies() const { return _mDependencies; }

  private:
    const C2Param::Index _mIndex;
    const uint32_t _mAttrib;
    const C2String _mName;
    const std::vector<C2Param::Index> _mDependencies;
};

// Describes structures by their core index; null for one that it doesn't know.
class C2ParamReflector {
  public:
    virtual std::unique_ptr<C2StructDescriptor> describe(C2Param::CoreIndex coreIndex) const = 0;

  protected:
    virtual ~C2ParamReflector() = default;
};
