// The part of the Codec 2.0 support library's <C2Param.h> with which a component describes its
// parameters: fields, structures, parameters, and who answers for them. Included by <C2Param.h>.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using C2String = std::string;

// Where a field lies in its structure, bytes.
struct _C2FieldId {
    _C2FieldId(uint32_t offset, uint32_t size) : _mOffset(offset), _mSize(size) {}
    bool operator==(const _C2FieldId& other) const {
        return _mOffset == other._mOffset && _mSize == other._mSize;
    }

  private:
    friend struct _C2ParamInspector;
    uint32_t _mOffset;
    uint32_t _mSize;
};

// One field of a structure.
struct C2FieldDescriptor {
    enum type_t : uint32_t {
        NO_INIT = 0,
        INT32,
        UINT32,
        CNTR32,
        INT64,
        UINT64,
        CNTR64,
        FLOAT,
        STRING = 0x100,         // char array, ends in a zero
        BLOB,                   // uint8_t array
        STRUCT_FLAG = 0x20000,  // with the core index of the structure
    };

    // A value that has a name, as an enumeration's have.
    using NamedValueType = std::pair<C2String, int64_t>;
    using NamedValuesType = std::vector<NamedValueType>;

    C2FieldDescriptor(uint32_t type, uint32_t extent, C2String name, size_t offset, size_t size,
                      NamedValuesType namedValues = {})
        : _mType(static_cast<type_t>(type)),
          _mExtent(extent),
          _mName(std::move(name)),
          _mNamedValues(std::move(namedValues)),
          _mFieldId(static_cast<uint32_t>(offset), static_cast<uint32_t>(size)) {}

    type_t type() const { return _mType; }
    size_t extent() const { return _mExtent; }  // number of elements; 0 for a flexible array
    C2String name() const { return _mName; }
    const NamedValuesType& namedValues() const { return _mNamedValues; }

    // What the type of a member says of it. T: the element type of an array.
    template <typename T>
    static constexpr uint32_t TypeOf() {
        if constexpr (std::is_enum_v<T>)
            return TypeOf<std::underlying_type_t<T>>();
        else if constexpr (std::is_same_v<T, int32_t>)
            return INT32;
        else if constexpr (std::is_same_v<T, uint32_t>)
            return UINT32;
        else if constexpr (std::is_same_v<T, int64_t>)
            return INT64;
        else if constexpr (std::is_same_v<T, uint64_t>)
            return UINT64;
        else if constexpr (std::is_same_v<T, float>)
            return FLOAT;
        else if constexpr (std::is_same_v<T, char>)
            return STRING;
        else if constexpr (std::is_same_v<T, uint8_t>)
            return BLOB;
        else
            return STRUCT_FLAG | uint32_t{T::PARAM_KIND};
    }

  private:
    friend struct _C2ParamInspector;
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

    C2StructDescriptor(C2Param::CoreIndex coreIndex, std::vector<C2FieldDescriptor> fields)
        : mType(coreIndex.coreIndex()), mFields(std::move(fields)) {}

    C2Param::CoreIndex coreIndex() const { return mType; }
    size_t numFields() const { return mFields.size(); }
    field_iterator cbegin() const { return mFields.cbegin(); }
    field_iterator cend() const { return mFields.cend(); }
    field_iterator begin() const { return cbegin(); }
    field_iterator end() const { return cend(); }

  private:
    C2Param::CoreIndex mType;
    std::vector<C2FieldDescriptor> mFields;
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
        IS_CONST = 1u << 6,
    };

    C2ParamDescriptor(bool isRequired, C2String name, C2Param::Index index)
        : C2ParamDescriptor(index, isRequired ? IS_REQUIRED : attrib_t(0), std::move(name)) {}
    C2ParamDescriptor(C2Param::Index index, attrib_t attrib, C2String name)
        : _mIndex(index), _mAttrib(attrib), _mName(std::move(name)) {}

    C2Param::Index index() const { return _mIndex; }
    C2String name() const { return _mName; }
    bool isRequired() const { return (_mAttrib & IS_REQUIRED) != 0; }
    bool isPersistent() const { return (_mAttrib & IS_PERSISTENT) != 0; }
    bool isReadOnly() const { return (_mAttrib & IS_READ_ONLY) != 0; }

  private:
    C2Param::Index _mIndex;
    uint32_t _mAttrib;
    C2String _mName;
};

// Describes structures by their core index; null for one that it doesn't know.
class C2ParamReflector {
  public:
    virtual ~C2ParamReflector() = default;
    virtual std::unique_ptr<C2StructDescriptor> describe(C2Param::CoreIndex coreIndex) const = 0;
};
