// Stand-in for the Codec 2.0 support library's <C2Param.h>: binary parameters, which begin with an
// 8-byte header (32-bit size of the whole parameter, 32-bit index) followed by their body.
#pragma once

#include <C2.h>
#include <C2Value.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

struct C2Param {
  private:
    enum : uint32_t {
        KIND_SETTING = 0x80000000,
        KIND_TUNING = 0x40000000,
        KIND_INFO = 0xC0000000,
        DIR_MASK = 0x30000000,
        DIR_UNDEFINED = 0x30000000,
        IS_STREAM_FLAG = 0x02000000,
        STREAM_ID_MASK = 0x01F00000,
        STREAM_ID_SHIFT = 20,
        MAX_STREAM_ID = 30,
        CORE_MASK = 0x0001FFFF,
        IS_VENDOR_FLAG = 0x00008000,
    };

  public:
    // The first core index of a vendor's own structures.
    enum : uint32_t { TYPE_INDEX_VENDOR_START = 0x00008000 };

    // The part of an index that names a structure: the low 17 bits. Made of 32 unsigned bits only.
    struct CoreIndex {
        enum : uint32_t { IS_FLEX_FLAG = 0x00010000, IS_REQUEST_FLAG = 0x00020000 };

        constexpr CoreIndex(uint32_t index) : mIndex(index) {}
        template <typename T, typename = std::enable_if_t<std::is_integral_v<T>>>
        CoreIndex(T) = delete;

        constexpr uint32_t coreIndex() const { return mIndex & CORE_MASK; }
        constexpr bool isVendor() const { return (mIndex & IS_VENDOR_FLAG) != 0; }
        constexpr bool isFlexible() const { return (mIndex & IS_FLEX_FLAG) != 0; }

      protected:
        uint32_t mIndex;
    };

    // Structure, kind and direction.
    struct Type : CoreIndex {
        using CoreIndex::CoreIndex;
        constexpr uint32_t type() const { return mIndex & ~uint32_t{STREAM_ID_MASK}; }
        constexpr bool forStream() const { return (mIndex & IS_STREAM_FLAG) != 0; }
    };

    // The whole index.
    struct Index : Type {
        using Type::Type;
        constexpr operator uint32_t() const { return mIndex; }
        // All ones for a parameter that is of no stream.
        constexpr unsigned stream() const {
            return forStream() ? (mIndex & STREAM_ID_MASK) >> STREAM_ID_SHIFT : ~0u;
        }

      private:
        friend struct C2Param;
        constexpr bool isValid() const {
            return (mIndex & DIR_MASK) != DIR_UNDEFINED &&
                   (forStream() ? stream() <= MAX_STREAM_ID : (mIndex & STREAM_ID_MASK) == 0);
        }
    };

    size_t size() const { return _mSize; }
    uint32_t index() const { return _mIndex; }
    CoreIndex coreIndex() const { return _mIndex; }
    Type type() const { return _mIndex; }
    unsigned stream() const { return _mIndex.stream(); }

    // Valid: non-zero size, a defined direction, consistent stream bits.
    operator bool() const { return _mSize > 0 && _mIndex.isValid(); }

    // Compares all bytes.
    bool operator==(const C2Param& other) const {
        return _mSize == other._mSize && memcmp(this, &other, _mSize) == 0;
    }
    bool operator!=(const C2Param& other) const { return !(*this == other); }

    // A deep copy; null for a parameter that is shorter than its header.
    static std::unique_ptr<C2Param> Copy(const C2Param& source) {
        if (source._mSize < sizeof(C2Param))
            return nullptr;
        std::unique_ptr<C2Param> copy(::new (Allocate(source._mSize))
                                          C2Param(source._mSize, source._mIndex));
        copy->updateFrom(source);
        return copy;
    }

    // The parameter that fills the length bytes at memory; null when its header says another size.
    static C2Param* From(void* memory, size_t length) {
        if (memory == nullptr || length < sizeof(C2Param))
            return nullptr;
        auto* param = static_cast<C2Param*>(memory);
        return param->_mSize == length ? param : nullptr;
    }

    // Takes the bytes of a parameter of the same index that is no longer; tells whether it did.
    bool updateFrom(const C2Param& other) {
        if (other._mSize > _mSize || other.index() != index())
            return false;
        memcpy(static_cast<void*>(this), &other, other._mSize);
        return true;
    }

    // Makes it a parameter that is not valid.
    void invalidate() { _mSize = 0; }

    // Parameters are longer than their static type says, so they are given back without a size.
    static void operator delete(void* memory) { ::operator delete(memory); }

  protected:
    // Zeroed memory of a parameter of size bytes.
    static void* Allocate(uint32_t size) {
        void* memory = ::operator new(size);
        memset(memory, 0, size);
        return memory;
    }

    // The bits of a stream id; those of an invalid one for an id that is too large.
    static constexpr uint32_t MakeStreamId(unsigned stream) {
        return (stream <= MAX_STREAM_ID ? stream << STREAM_ID_SHIFT : STREAM_ID_MASK);
    }

    C2Param(uint32_t size, Index index) : _mSize(size), _mIndex(index) {}
    C2Param(const C2Param&) = default;
    C2Param& operator=(const C2Param&) = default;

  private:
    friend struct C2Setting;
    friend struct C2Tuning;
    friend struct C2Info;
    friend struct _C2ParamInspector;
    uint32_t _mSize;
    Index _mIndex;
};
static_assert(sizeof(C2Param) == 8, "a parameter begins with an 8-byte header");

// The kinds of parameter.
struct C2Setting : C2Param {
    enum : uint32_t { PARAM_KIND = KIND_SETTING };

  protected:
    using C2Param::C2Param;
};
struct C2Tuning : C2Setting {
    enum : uint32_t { PARAM_KIND = KIND_TUNING };

  protected:
    using C2Setting::C2Setting;
};
struct C2Info : C2Param {
    enum : uint32_t { PARAM_KIND = KIND_INFO };

  protected:
    using C2Param::C2Param;
};

#include <C2ParamReflection.h>
#include <C2ParamValues.h>
