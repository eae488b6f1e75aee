// Stand-in for the Codec 2.0 support library's <C2Param.h>: binary parameters, which begin with an
// 8-byte header (32-bit size of the whole parameter, 32-bit index) followed by their body.
#pragma once

#include <C2.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

struct C2Param {
  public:
    // Layout of the 32-bit index.
    static constexpr uint32_t KIND_MASK = 0xC0000000;
    static constexpr uint32_t KIND_TUNING = 0x40000000;
    static constexpr uint32_t KIND_SETTING = 0x80000000;
    static constexpr uint32_t KIND_INFO = 0xC0000000;
    static constexpr uint32_t DIR_MASK = 0x30000000;
    static constexpr uint32_t DIR_INPUT = 0x00000000;
    static constexpr uint32_t DIR_OUTPUT = 0x10000000;
    static constexpr uint32_t DIR_GLOBAL = 0x20000000;
    static constexpr uint32_t DIR_UNDEFINED = 0x30000000;
    static constexpr uint32_t IS_STREAM_FLAG = 0x02000000;
    static constexpr uint32_t STREAM_ID_MASK = 0x01E00000;
    static constexpr uint32_t STREAM_ID_SHIFT = 21;
    static constexpr uint32_t IS_REQUEST_FLAG = 0x00100000;
    static constexpr uint32_t IS_STRUCT_FLAG = 0x00020000;
    static constexpr uint32_t IS_FLEX_FLAG = 0x00010000;
    static constexpr uint32_t IS_VENDOR_FLAG = 0x00008000;
    static constexpr uint32_t CORE_MASK = 0x0001FFFF;

    // The part of an index that names a structure: the low 17 bits.
    struct CoreIndex {
        constexpr CoreIndex(uint32_t index) : mIndex(index) {}
        constexpr uint32_t coreIndex() const { return mIndex & CORE_MASK; }
        constexpr bool isVendor() const { return (mIndex & IS_VENDOR_FLAG) != 0; }
        constexpr bool isFlexible() const { return (mIndex & IS_FLEX_FLAG) != 0; }
        constexpr bool isStruct() const { return (mIndex & IS_STRUCT_FLAG) != 0; }

      protected:
        uint32_t mIndex;
    };

    // Structure, kind and direction.
    struct Type : CoreIndex {
        constexpr Type(uint32_t index) : CoreIndex(index) {}
        constexpr uint32_t type() const { return mIndex & ~(STREAM_ID_MASK | IS_REQUEST_FLAG); }
        constexpr bool forStream() const { return (mIndex & IS_STREAM_FLAG) != 0; }
        constexpr operator uint32_t() const { return mIndex; }
    };

    // The whole index.
    struct Index : Type {
        constexpr Index(uint32_t index) : Type(index) {}
        constexpr uint32_t stream() const { return (mIndex & STREAM_ID_MASK) >> STREAM_ID_SHIFT; }
        constexpr bool isValid() const {
            return (mIndex & DIR_MASK) != DIR_UNDEFINED &&
                   (forStream() || (mIndex & STREAM_ID_MASK) == 0);
        }
    };

    uint32_t size() const { return _mSize; }
    Index index() const { return _mIndex; }
    CoreIndex coreIndex() const { return _mIndex; }
    Type type() const { return _mIndex; }
    bool isFlexible() const { return _mIndex.isFlexible(); }
    bool isVendor() const { return _mIndex.isVendor(); }
    bool forStream() const { return _mIndex.forStream(); }
    uint32_t stream() const { return _mIndex.stream(); }

    // Valid: non-zero size, a defined direction, consistent stream bits.
    explicit operator bool() const { return _mSize > 0 && _mIndex.isValid(); }

    // Compares all bytes.
    bool operator==(const C2Param& other) const {
        return _mSize == other._mSize && memcmp(this, &other, _mSize) == 0;
    }
    bool operator!=(const C2Param& other) const { return !(*this == other); }

    // A deep copy; null for a parameter that is shorter than its header.
    static std::unique_ptr<C2Param> Copy(const C2Param& source) {
        if (source._mSize < sizeof(C2Param))
            return nullptr;
        std::unique_ptr<C2Param> copy(new (source._mSize) C2Param(source._mSize, source._mIndex));
        copy->updateFrom(source);
        return copy;
    }

    // The parameter that begins at memory; null when its header does not fit into length bytes.
    static C2Param* From(void* memory, size_t length) {
        if (memory == nullptr || length < sizeof(C2Param))
            return nullptr;
        auto* param = static_cast<C2Param*>(memory);
        return param->_mSize >= sizeof(C2Param) && param->_mSize <= length ? param : nullptr;
    }

    // Takes the bytes of another parameter of the same size and index; tells whether it did.
    bool updateFrom(const C2Param& other) {
        if (other._mSize != _mSize || uint32_t(other._mIndex) != uint32_t(_mIndex))
            return false;
        memcpy(static_cast<void*>(this), &other, _mSize);
        return true;
    }

    // Parameters are longer than their static type says, so they are given back without a size.
    static void* operator new(size_t size) { return ::operator new(size); }
    static void* operator new(size_t, void* place) { return place; }
    static void operator delete(void* memory) { ::operator delete(memory); }

  protected:
    // A parameter of size bytes whose body is zeroed.
    static void* operator new(size_t, uint32_t size) {
        void* memory = ::operator new(size);
        memset(memory, 0, size);
        return memory;
    }
    static void operator delete(void* memory, uint32_t) { ::operator delete(memory); }

    C2Param(uint32_t size, Index index) : _mSize(size), _mIndex(index) {}
    C2Param(const C2Param&) = default;
    C2Param& operator=(const C2Param&) { return *this; }  // the header stays

    uint32_t _mSize;
    Index _mIndex;
};
static_assert(sizeof(C2Param) == 8, "a parameter begins with an 8-byte header");

// The kinds of parameter.
struct C2Setting : C2Param {
    static constexpr uint32_t PARAM_KIND_BITS = KIND_SETTING;

  protected:
    using C2Param::C2Param;
};
struct C2Tuning : C2Param {
    static constexpr uint32_t PARAM_KIND_BITS = KIND_TUNING;

  protected:
    using C2Param::C2Param;
};
struct C2Info : C2Param {
    static constexpr uint32_t PARAM_KIND_BITS = KIND_INFO;

  protected:
    using C2Param::C2Param;
};

#include <C2ParamReflection.h>
