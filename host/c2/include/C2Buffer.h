// Stand-in for the Codec 2.0 support library's <C2Buffer.h>: blocks, buffers and block pools.
#pragma once

#include <C2.h>
#include <C2Param.h>
#include <cutils/native_handle.h>
#include <lx2host/Export.h>

#include <cstdint>
#include <utility>

using C2Handle = native_handle_t;

struct C2Rect {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t left = 0;
    uint32_t top = 0;

    constexpr C2Rect() = default;
    constexpr C2Rect(uint32_t w, uint32_t h) : C2Rect(w, h, 0, 0) {}
    constexpr C2Rect at(uint32_t l, uint32_t t) const { return C2Rect(width, height, l, t); }

    constexpr bool isEmpty() const { return width == 0 || height == 0; }
    constexpr bool isValid() const { return left <= ~width && top <= ~height; }
    constexpr operator bool() const { return isValid() && !isEmpty(); }

    // Tells whether the other rectangle lies inside this one. An invalid one neither holds anything
    // nor is held.
    constexpr bool contains(const C2Rect& other) const {
        return isValid() && other.isValid() && left <= other.left && top <= other.top &&
               left + width >= other.left + other.width && top + height >= other.top + other.height;
    }

    // All invalid rectangles are equal; empty ones are as equal as their numbers.
    constexpr bool operator==(const C2Rect& other) const {
        if (!isValid() || !other.isValid())
            return isValid() == other.isValid();
        return width == other.width && height == other.height && left == other.left &&
               top == other.top;
    }
    constexpr bool operator!=(const C2Rect& other) const { return !(*this == other); }
    constexpr bool operator<=(const C2Rect& other) const { return other.contains(*this); }
    constexpr bool operator>=(const C2Rect& other) const { return contains(other); }
    constexpr bool operator<(const C2Rect& other) const { return *this <= other && *this != other; }
    constexpr bool operator>(const C2Rect& other) const { return other < *this; }

  private:
    constexpr C2Rect(uint32_t w, uint32_t h, uint32_t l, uint32_t t)
        : width(w), height(h), left(l), top(t) {}
};
struct C2PlanarLayout;

// Always signalled: nothing on a workstation writes behind the CPU's back.
class C2Fence {
  public:
    bool valid() const { return true; }
    bool ready() const { return true; }
};

struct C2MemoryUsage {
    enum Consumer : uint64_t { CPU_READ = 1 << 0, READ_PROTECTED = 1 << 1 };
    enum Producer : uint64_t { CPU_WRITE = 1 << 2, WRITE_PROTECTED = 1 << 3 };

    uint64_t expected;

    C2MemoryUsage(uint64_t consumer, uint64_t producer) : expected(consumer | producer) {}
    explicit C2MemoryUsage(uint64_t usage) : expected(usage) {}
};

// What a block's memory is allocated from. The allocation owns its handle.
class LX2_HOST_API C2LinearAllocation {
  public:
    virtual c2_status_t map(size_t offset, size_t size, C2MemoryUsage usage, C2Fence* fence,
                            void** addr) = 0;
    virtual c2_status_t unmap(void* addr, size_t size, C2Fence* fence) = 0;
    virtual uint32_t getAllocatorId() const = 0;
    virtual const C2Handle* handle() const = 0;
    virtual bool equals(const std::shared_ptr<C2LinearAllocation>& other) const = 0;
    uint32_t capacity() const { return mCapacity; }

  protected:
    explicit C2LinearAllocation(uint32_t capacity) : mCapacity(capacity) {}
    virtual ~C2LinearAllocation();

  private:
    uint32_t mCapacity;
};

class LX2_HOST_API C2GraphicAllocation {
  public:
    virtual c2_status_t map(C2Rect rect, C2MemoryUsage usage, C2Fence* fence,
                            C2PlanarLayout* layout, uint8_t** addr) = 0;
    virtual c2_status_t unmap(uint8_t** addr, C2Rect rect, C2Fence* fence) = 0;
    virtual uint32_t getAllocatorId() const = 0;
    virtual const C2Handle* handle() const = 0;
    virtual bool equals(const std::shared_ptr<const C2GraphicAllocation>& other) const = 0;
    uint32_t width() const { return mWidth; }
    uint32_t height() const { return mHeight; }

  protected:
    C2GraphicAllocation(uint32_t width, uint32_t height) : mWidth(width), mHeight(height) {}
    virtual ~C2GraphicAllocation();

  private:
    uint32_t mWidth;
    uint32_t mHeight;
};

// State that a pool ties to a block; goes when the last block goes, before the allocation.
struct LX2_HOST_API _C2BlockPoolData {
    enum type_t : int { TYPE_BUFFERPOOL = 0, TYPE_BUFFERQUEUE };
    virtual type_t getType() const = 0;

  protected:
    _C2BlockPoolData() = default;
    virtual ~_C2BlockPoolData();
};

// A part of a linear allocation, in bytes.
class LX2_HOST_API C2Block1D {
  public:
    const C2Handle* handle() const { return mAllocation->handle(); }
    uint32_t capacity() const { return mAllocation->capacity(); }
    uint32_t offset() const { return mOffset; }
    uint32_t size() const { return mSize; }

  protected:
    using Allocation = std::shared_ptr<C2LinearAllocation>;
    using PoolData = std::shared_ptr<_C2BlockPoolData>;
    C2Block1D(Allocation allocation, PoolData data, uint32_t offset, uint32_t size);

    Allocation mAllocation;
    PoolData mPoolData;  // goes before the allocation
    uint32_t mOffset;
    uint32_t mSize;
};

class LX2_HOST_API C2ConstLinearBlock : public C2Block1D {
  private:
    friend class C2LinearBlock;
    using C2Block1D::C2Block1D;
};

class LX2_HOST_API C2LinearBlock : public C2Block1D {
  public:
    // A read-only view of a range of the allocation, which begins in the block at the earliest, is
    // no longer than the block, and ends with the allocation.
    C2ConstLinearBlock share(size_t offset, size_t size, C2Fence fence);

  private:
    friend class _C2BlockFactory;
    using C2Block1D::C2Block1D;
};

// A graphic allocation with a crop, in pixels.
class LX2_HOST_API C2Block2D {
  public:
    const C2Handle* handle() const { return mAllocation->handle(); }
    uint32_t width() const { return mAllocation->width(); }
    uint32_t height() const { return mAllocation->height(); }
    C2Rect crop() const { return mCrop; }

  protected:
    using Allocation = std::shared_ptr<C2GraphicAllocation>;
    using PoolData = std::shared_ptr<_C2BlockPoolData>;
    C2Block2D(Allocation allocation, PoolData data, C2Rect crop);

    Allocation mAllocation;
    PoolData mPoolData;  // goes before the allocation
    C2Rect mCrop;
};

class LX2_HOST_API C2ConstGraphicBlock : public C2Block2D {
  private:
    friend class C2GraphicBlock;
    using C2Block2D::C2Block2D;
};

class LX2_HOST_API C2GraphicBlock : public C2Block2D {
  public:
    // A read-only view of what the block's crop and the given one have in common.
    C2ConstGraphicBlock share(const C2Rect& crop, C2Fence fence);

  private:
    friend class _C2BlockFactory;
    using C2Block2D::C2Block2D;
};

class LX2_HOST_API C2BufferData {
  public:
    enum type_t : uint32_t { INVALID, LINEAR, LINEAR_CHUNKS, GRAPHIC, GRAPHIC_CHUNKS };

    type_t type() const { return mType; }
    const std::vector<C2ConstLinearBlock> linearBlocks() const { return mLinear; }
    const std::vector<C2ConstGraphicBlock> graphicBlocks() const { return mGraphic; }

  private:
    friend class C2Buffer;
    explicit C2BufferData(const std::vector<C2ConstLinearBlock>& blocks)
        : mType(blocks.size() == 1 ? LINEAR : LINEAR_CHUNKS), mLinear(blocks) {}
    explicit C2BufferData(const std::vector<C2ConstGraphicBlock>& blocks)
        : mType(blocks.size() == 1 ? GRAPHIC : GRAPHIC_CHUNKS), mGraphic(blocks) {}

    type_t mType;
    std::vector<C2ConstLinearBlock> mLinear;
    std::vector<C2ConstGraphicBlock> mGraphic;
};

// A finished buffer: constant blocks and infos. Used by one thread at a time.
class LX2_HOST_API C2Buffer {
  public:
    virtual ~C2Buffer();

    const C2BufferData data() const { return mData; }
    const std::vector<std::shared_ptr<const C2Info>> info() const;

    // Attaches an info in place of one of the same core index. C2_OK; C2_BAD_VALUE for null.
    c2_status_t setInfo(const std::shared_ptr<C2Info>& info);
    bool hasInfo(C2Param::Type index) const;

    static std::shared_ptr<C2Buffer> CreateLinearBuffer(const C2ConstLinearBlock& block);
    static std::shared_ptr<C2Buffer> CreateGraphicBuffer(const C2ConstGraphicBlock& block);

  protected:
    // Any number of blocks but one makes a buffer of a CHUNKS kind.
    explicit C2Buffer(const std::vector<C2ConstLinearBlock>& blocks);
    explicit C2Buffer(const std::vector<C2ConstGraphicBlock>& blocks);

  private:
    C2BufferData mData;
    std::map<uint32_t, std::shared_ptr<C2Info>> mInfos;  // by core index
};

// A buffer that belongs to a frame without being one, and the parameter that says what it is.
class LX2_HOST_API C2InfoBuffer {
  public:
    C2Param::Index index() const { return mIndex; }
    const C2BufferData data() const { return mData; }

    static C2InfoBuffer CreateLinearBuffer(C2Param::CoreIndex index,
                                           const C2ConstLinearBlock& block);
    static C2InfoBuffer CreateGraphicBuffer(C2Param::CoreIndex index,
                                            const C2ConstGraphicBlock& block);

  private:
    C2InfoBuffer(C2Param::Index index, const C2BufferData& data) : mIndex(index), mData(data) {}
    C2Param::Index mIndex;
    C2BufferData mData;
};

class C2Allocator;

// The allocators of a process, by id.
class C2AllocatorStore {
  public:
    using id_t = uint32_t;
    enum : id_t {
        DEFAULT_LINEAR = 0,
        DEFAULT_GRAPHIC = 1,
        PLATFORM_START = 0x10,
        VENDOR_START = 0x100,
    };

    virtual ~C2AllocatorStore() = default;
    virtual C2String getName() const = 0;
    virtual c2_status_t fetchAllocator(id_t id, std::shared_ptr<C2Allocator>* const allocator) = 0;
};

// Hands out blocks. A pool offers what it can and answers C2_OMITTED to the rest.
class LX2_HOST_API C2BlockPool {
  public:
    using local_id_t = uint64_t;
    enum : local_id_t { BASIC_LINEAR = 0, BASIC_GRAPHIC = 1, PLATFORM_START = 0x10 };

    virtual local_id_t getLocalId() const = 0;
    virtual uint32_t getAllocatorId() const = 0;

    virtual c2_status_t fetchLinearBlock(uint32_t capacity, C2MemoryUsage usage,
                                         std::shared_ptr<C2LinearBlock>* block);
    virtual c2_status_t fetchGraphicBlock(uint32_t width, uint32_t height, uint32_t format,
                                          C2MemoryUsage usage,
                                          std::shared_ptr<C2GraphicBlock>* block);

  protected:
    C2BlockPool() = default;
    virtual ~C2BlockPool();
};
