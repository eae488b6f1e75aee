// The buffer that codec components pass around.
//
// An LX2Buffer wraps either a writable C2 block that a component fetched from a pool (linear or
// graphic) or a finished C2Buffer that the framework delivered. It adds what the C2 types lack:
// per-buffer values (timestamp, indices, flags), infos and configuration updates, and two views
// through which the component reads geometry and maps the memory for the CPU. When the component is
// done, getSharedBuffer() turns it back into a C2Buffer.
//
// A buffer is owned by a std::shared_ptr; mappings keep their buffer alive through it. Buffers,
// views and mappings are used by one thread at a time; nothing here locks.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Buffer.h>
#include <C2Param.h>
#include <lx2/Bundle.h>
#include <lx2/Export.h>
#include <lx2/FramePlanes.h>
#include <lx2/LX2Status.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lx2 {

class LX2PlatformBuffer;

class LX2_API LX2Buffer : public std::enable_shared_from_this<LX2Buffer> {
  public:
    class Linear;
    class Graphic;
    class Mapping;
    class Planes;
    struct Bytes;

    // For a block fetched from a C2 pool with the C2MemoryUsage bits usage.
    LX2Buffer(std::shared_ptr<C2LinearBlock> block, uint64_t usage);
    // For a fetched graphic block.
    explicit LX2Buffer(std::shared_ptr<C2GraphicBlock> block);
    // For a buffer from the framework. Null is logged and gives a buffer of kind 2, both views
    // invalid.
    explicit LX2Buffer(std::shared_ptr<C2Buffer> buffer);
    virtual ~LX2Buffer();

    LX2Buffer(const LX2Buffer&) = delete;
    LX2Buffer& operator=(const LX2Buffer&) = delete;

    // Wraps a framework buffer. Never null; a null argument gives the invalid buffer described
    // above.
    static std::shared_ptr<LX2Buffer> CreateFromC2Buffer(const std::shared_ptr<C2Buffer>& buffer);

    // The kind, in the numbering of C2BufferData::type_t: 1 linear, 3 graphic.
    uint32_t type() const { return mType; }

    // The views. Both exist as long as the buffer does; at most the one that matches the kind is
    // valid, and none of a buffer that has no block, several, or a linear one without a descriptor.
    Linear* linear() const { return mLinear.get(); }
    Graphic* graphic() const { return mGraphic.get(); }

    // The keys of the values that have calls of their own. All are of type uint64_t.
    static constexpr const char* kTimestamp = "timestamp";
    static constexpr const char* kInputIndex = "input-index";
    static constexpr const char* kOutputIndex = "output-index";
    static constexpr const char* kCustomOrdinal = "custom-ordinal";
    static constexpr const char* kFlags = "flags";

    // Per-buffer values; 0 while unset. They are the component's own: the display gets its time by
    // the graphic view's setPresentationTime().
    uint64_t timestamp() const { return value(kTimestamp); }
    uint64_t inputIndex() const { return value(kInputIndex); }
    uint64_t outputIndex() const { return value(kOutputIndex); }
    uint64_t customOrdinal() const { return value(kCustomOrdinal); }
    uint64_t flags() const { return value(kFlags); }  // BufFlag bits
    void setTimestamp(uint64_t timestamp) { mInfo.put(kTimestamp, timestamp); }
    void setInputIndex(uint64_t index) { mInfo.put(kInputIndex, index); }
    void setOutputIndex(uint64_t index) { mInfo.put(kOutputIndex, index); }
    void setCustomOrdinal(uint64_t ordinal) { mInfo.put(kCustomOrdinal, ordinal); }
    void setFlags(uint64_t flags) { mInfo.put(kFlags, flags); }

    // Whether a value of any type is set under key.
    bool hasBufferInfo(const std::string& key) const { return mInfo.find(key) != mInfo.end(); }

    // The value under a key, of those above or of any other; nothing when none is set or one of
    // another type. T: int32_t, uint32_t, int64_t, uint64_t, double or std::string.
    template <typename T>
    std::optional<T> bufferInfo(const std::string& key) const {
        const T* value = mInfo.find<T>(key);
        return value != nullptr ? std::optional<T>(*value) : std::nullopt;
    }

    // Sets a value, in place of one of any type. C2_OK; LX2_ERROR, logged, if it can't be kept.
    template <typename T>
    LX2Status setBufferInfo(const std::string& key, T value) {
        return mInfo.put(key, std::move(value));
    }

    // Deep copies of the infos: of the wrapped C2Buffer's if there is one (infos added here are
    // then not part of the result), else of those added with addInfo. An info of size 0 gives a
    // null entry.
    std::vector<std::shared_ptr<C2Info>> infos() const;

    // Attaches an info, shared, in place of one with the same core index.
    // C2_OK; LX2_BAD_ARG for null.
    LX2Status addInfo(std::shared_ptr<C2Info> info);

    // Drops the infos added here; those inside a wrapped C2Buffer stay.
    void clearInfos() { mInfos.clear(); }

    // Appends configuration updates that travel with the buffer, shared.
    // C2_OK; LX2_BAD_ARG for an empty list.
    LX2Status addConfigUpdates(const std::list<std::shared_ptr<C2Param>>& updates);
    std::list<std::shared_ptr<C2Param>>& configUpdates() { return mConfigUpdates; }
    const std::list<std::shared_ptr<C2Param>>& configUpdates() const { return mConfigUpdates; }

    // Gives this buffer's values, infos and configuration updates to dst. Values that dst has stay;
    // infos replace those of dst with the same core index. Infos that a wrapped C2Buffer has, crop
    // and display metadata are not copied: see copyPropertiesTo().
    // C2_OK; LX2_BAD_ARG for null.
    LX2Status copyBufInfoTo(std::shared_ptr<LX2Buffer> dst);

    // Makes dst, whose pixels or bytes were made from those of this buffer, describe them as this
    // buffer does. Copied are
    // - all values (timestamp, indices, flags, ...), which replace those of dst;
    // - copies of the infos of a wrapped C2Buffer, and of those added here, which replace infos of
    //   dst with the same core index; infos of the input direction become infos of the output;
    // - the configuration updates, shared;
    // - from picture to picture the crop, and the display metadata (LX2GrallocBuffer's
    //   copyMetadataTo()).
    // omitted, which may be null, is replaced by the indices of what dst did not get: a crop that
    // does not fit dst and was clamped (C2StreamCropRectInfo::output), and metadata as
    // copyMetadataTo() lists it.
    // C2_OK, also with something omitted; LX2_BAD_ARG for null; C2_CANNOT_DO when dst wraps a
    // C2Buffer, which can't be described anew (nothing changes); LX2_ERROR, with a warning, when
    // the display metadata can't be accessed (the rest is copied).
    LX2Status copyPropertiesTo(const std::shared_ptr<LX2Buffer>& dst,
                               std::vector<C2Param::Index>* omitted = nullptr) const;

    // The buffer for the framework: the wrapped C2Buffer itself, or a new one of the block with its
    // present range or crop and the infos added here. Null when there is no block to share.
    // Values and configuration updates are not part of it.
    std::shared_ptr<C2Buffer> getSharedBuffer();

    // Describe a buffer in one line, at most outSize bytes with the terminating zero. Return out,
    // which may be null. Nothing is written, no zero either, with a size of 0, and for an LX2Buffer
    // of a kind that is neither linear nor graphic: pass a cleared array.
    static char* AsString(std::shared_ptr<LX2Buffer> buffer, char* out, uint32_t outSize);
    static char* AsString(std::shared_ptr<C2Buffer> buffer, char* out, uint32_t outSize);

  private:
    uint64_t value(const char* key) const { return mInfo.get<uint64_t>(key, 0); }

    uint32_t mType;
    Bundle mInfo;
    std::unique_ptr<Linear> mLinear;
    std::unique_ptr<Graphic> mGraphic;
    std::shared_ptr<C2Buffer> mC2Buffer;
    std::vector<std::shared_ptr<C2Info>> mInfos;
    std::list<std::shared_ptr<C2Param>> mConfigUpdates;
};

// Memory of a buffer, visible to the CPU between two cache synchronisations (DMA-BUF): one that
// starts the access when the mapping is made, one that ends it when the mapping goes.
class LX2_API LX2Buffer::Mapping {
  public:
    // Maps size bytes from the start of fd, which stays the caller's; offset serves messages only.
    // data() is null if that failed, which has been logged.
    Mapping(std::shared_ptr<LX2Buffer> buffer, int fd, uint32_t offset, uint32_t size,
            bool writable);
    ~Mapping();

    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    // Whether a view gave a mapping and it can be used.
    static bool IsUsable(const std::unique_ptr<Mapping>& mapping) {
        return mapping != nullptr && mapping->data() != nullptr;
    }

    uint8_t* data() const { return mAddr; }  // start of the buffer; a view's offset is not added
    uint32_t size() const { return mSize; }  // in bytes
    bool isWritable() const { return mWritable; }

    // Starts an access on the mapping's own descriptor and maps size bytes from the start of fd
    // with the given PROT_ bits; offset serves messages only. The caller unmaps the result. Null on
    // failure, which is logged and ends the access again.
    uint8_t* map(int fd, uint32_t offset, uint32_t size, int prot);

    // One synchronisation with dma_buf_sync flags, to hand the memory to the hardware and back
    // while it stays mapped. Failure is logged.
    void syncCache(uint64_t flags);

    // Ends the access and unmaps. The mapping itself does not change: memory unmapped this way must
    // not be unmapped again by the destructor, which the caller sees to.
    void unmap(uint8_t* addr, uint32_t size);

  private:
    std::shared_ptr<LX2Buffer> mBuffer;
    uint8_t* mAddr;
    uint32_t mSize;
    bool mWritable;
    int32_t mFd;
};

// Part of a mapping, or nothing: `if (const auto bytes = view.bytes(mapping))`. Lives no longer
// than the mapping.
struct LX2Buffer::Bytes {
    uint8_t* data = nullptr;
    uint32_t size = 0;

    explicit operator bool() const { return data != nullptr; }
};

// The planes of a picture, mapped for the CPU as long as this object lives; what mapPlanes() of a
// graphic view gives. Empty, and false, when there is nothing to work on.
//
//     if (const auto frame = view->mapPlanes())
//         for (const auto& plane : frame)
//             for (uint64_t y = 0; y < plane.rows; ++y)
//                 draw(plane.row(y), plane.rowBytes);
class LX2_API LX2Buffer::Planes {
  public:
    // A plane as FramePlanes describes it, offset counted from the mapping's start.
    struct Plane : FramePlane {
        uint8_t* data = nullptr;  // of the first row

        // The rowBytes bytes of a row; y: less than rows.
        uint8_t* row(uint64_t y) const { return data + static_cast<size_t>(y * pitch); }
    };

    // Empty.
    Planes() = default;

    explicit operator bool() const { return mMapping != nullptr; }
    bool isWritable() const { return mMapping != nullptr && mMapping->isWritable(); }

    // In the order of FramePlanes.
    uint32_t count() const { return mCount; }
    const Plane& operator[](uint32_t index) const { return mPlanes[index]; }
    const Plane* begin() const { return mPlanes; }
    const Plane* end() const { return mPlanes + mCount; }

    // Copies the rows of one plane from or to memory whose rows are pitch bytes apart and hold
    // rowBytes bytes each. memory is the first row; a negative pitch leads to rows before it.
    // C2_OK; LX2_BAD_ARG for null memory or an index that is not less than count(); copyFrom also
    // C2_CANNOT_DO when the planes are mapped for reading only.
    LX2Status copyFrom(uint32_t index, const uint8_t* memory, ptrdiff_t pitch) const;
    LX2Status copyTo(uint32_t index, uint8_t* memory, ptrdiff_t pitch) const;

  private:
    friend class Graphic;
    LX2_LOCAL Planes(const FramePlanes& planes, std::unique_ptr<Mapping> mapping);

    std::unique_ptr<Mapping> mMapping;
    Plane mPlanes[3];
    uint32_t mCount = 0;
};

// A buffer as a run of bytes.
class LX2_API LX2Buffer::Linear {
  public:
    // Of a writable block; null gives an invalid view.
    Linear(LX2Buffer* parent, std::shared_ptr<C2LinearBlock> block, uint64_t usage);
    // Of a block in a framework buffer, which is not kept. Its range is read-only; its memory may
    // be mapped for writing too.
    Linear(LX2Buffer* parent, const C2ConstLinearBlock& block);

    Linear(const Linear&) = delete;
    Linear& operator=(const Linear&) = delete;

    // Reads range, capacity and handle anew; ignored by an invalid view. A block without a
    // descriptor is logged and makes the view invalid.
    void init(const C2ConstLinearBlock& block);

    bool isValid() const { return mValid; }
    int32_t fd() const { return mFd; }               // not owned; -1 while none was read
    uint32_t offset() const { return mOffset; }      // start of the valid range, bytes
    uint32_t size() const { return mSize; }          // length of the valid range, bytes
    uint32_t capacity() const { return mCapacity; }  // length of the block, bytes

    // Sets the valid range of a block that this component owns, in bytes. A size past the end is
    // trimmed to the capacity and logged, but for one whose 32-bit sum with offset wraps around: it
    // is stored as it is.
    // C2_OK; C2_CANNOT_DO for a read-only view or an offset past the capacity (nothing changes
    // then).
    LX2Status setRange(uint32_t offset, uint32_t size);

    // Map the whole block, from its start. Null for an invalid view and for a secure buffer; else a
    // mapping whose data() is null if mapping failed. The buffer must be owned by a shared_ptr.
    std::unique_ptr<Mapping> map() { return mapInternal(true); }
    std::unique_ptr<Mapping> mapReadOnly() const { return mapInternal(false); }
    std::unique_ptr<Mapping> mapInternal(bool writable) const;

    // The valid range in a mapping of this view. Nothing if the mapping is null, has failed, or is
    // shorter than the range reaches.
    Bytes bytes(const std::unique_ptr<Mapping>& mapping) const;

    // A new C2Buffer of the block with the present range; null for a view without a writable block.
    std::shared_ptr<C2Buffer> share();

  private:
    bool mValid;
    int32_t mFd = -1;
    uint32_t mOffset = 0;
    uint32_t mSize = 0;
    uint32_t mCapacity = 0;
    uint64_t mUsage = 0;
    LX2Buffer* mParent;
    std::shared_ptr<C2LinearBlock> mBlock;
};

// A buffer as a picture. Geometry comes from the graphics-buffer handle, through the platform
// buffer.
class LX2_API LX2Buffer::Graphic {
  public:
    // Of a writable block; null gives an invalid view.
    Graphic(LX2Buffer* parent, std::shared_ptr<C2GraphicBlock> block);
    // Of a block in a framework buffer; the block is not kept.
    Graphic(LX2Buffer* parent, const C2ConstGraphicBlock& block);
    ~Graphic();

    Graphic(const Graphic&) = delete;
    Graphic& operator=(const Graphic&) = delete;

    // Reads crop and handle anew; ignored by an invalid view.
    void init(const C2ConstGraphicBlock& block);

    bool isValid() const { return mValid; }

    // Geometry of the allocation. Without a platform buffer -1 for fd, 0 for format and allocSize,
    // all ones for the others.
    int fd() const;                // of the pixels; not owned
    uint32_t width() const;        // pixels
    uint32_t height() const;       // rows
    uint32_t stride() const;       // pixels
    uint32_t sliceHeight() const;  // rows
    uint32_t format() const;       // a PixFormat value
    uint32_t allocSize() const;    // bytes
    uint32_t offset() const;       // of the pixels in the allocation, bytes
    uint32_t flags() const;        // usage flags of the allocation
    uint64_t id() const;           // of the allocation

    // Where the rows of a frame of a linear format lie in a mapping, offsets from its data(). None
    // of a format that is not linear, and without a platform buffer. What the format and the handle
    // say, not held against the allocation: size() of the result may exceed the mapping's.
    // mapPlanes() maps them and checks that.
    FramePlanes planes() const;

    // The platform's view of the handle, owned by this view; null for an invalid view.
    LX2PlatformBuffer* platformBuffer() const { return mPlatformBuffer.get(); }

    // Makes the view and its mappings take the allocation to be this long, in bytes, until init().
    // The platform buffer keeps what the handle says.
    void setAllocSize(uint32_t size);

    // The crop in pixels; all zero when none is set.
    const C2Rect& crop() const { return mCrop; }

    // Sets the crop of a block that this component owns.
    // C2_OK; C2_CANNOT_DO without a writable block (nothing changes), and for a crop that does not
    // fit the block, which is clamped to it and set all the same. The sums of clamping are of 32
    // bits: a crop whose sums wrap around may come out larger than the block.
    LX2Status setCrop(const C2Rect& crop);

    // The displayed size in pixels: the crop's, or the allocation's while no crop is set. A crop of
    // which any number is not 0 is set: one of 0 x 10 is displayed as 0 pixels by 10 rows, one that
    // has but a left edge as nothing.
    uint32_t effectiveWidth() const;
    uint32_t effectiveHeight() const;

    // Bytes of a compressed frame, as its producer set it.
    uint32_t compressedSize() const { return mCompressedSize; }
    void setCompressedSize(uint32_t size) { mCompressedSize = size; }

    // A picture's width in pixels, or height in rows, rounded up to what its format requires; 0,
    // with an error line, for a format without a rule.
    static uint32_t GetAlignedWidth(uint32_t width, uint32_t format);
    static uint32_t GetAlignedHeight(uint32_t height, uint32_t format);

    // Metadata that the display stack keeps with the buffer: see LX2PlatformBuffer. The second call
    // puts what describes this buffer into params, and what changes the stream's configuration into
    // extra.
    // Additionally C2_CANNOT_DO, with a warning, without a platform buffer.
    LX2Status getPrivateMetadata(const std::vector<C2Param::Type>& types,
                                 std::vector<std::unique_ptr<C2Param>>* params);
    LX2Status getPrivateMetadata(std::vector<std::unique_ptr<C2Param>>* params,
                                 std::vector<std::unique_ptr<C2Param>>* extra);
    LX2Status setPrivateMetadata(const std::vector<std::shared_ptr<C2Info>>& infos);

    // Writes the time at which the display presents the frame, in the component's own unit. The
    // buffer's setTimestamp() does not reach the display.
    // C2_OK; LX2_ERROR, with a warning, when it could not be written; C2_CANNOT_DO, with a warning,
    // without a platform buffer.
    LX2Status setPresentationTime(uint64_t timestamp);

    // Copies the display's metadata: see LX2GrallocBuffer. Additionally C2_CANNOT_DO, with a
    // warning, when either view has no platform buffer.
    LX2Status copyPrivateMetadataTo(Graphic* target, std::vector<C2Param::Index>* omitted) const;

    // Map the whole allocation, from its start. Null for an invalid view; else a mapping whose
    // data() is null if mapping failed. The buffer must be owned by a shared_ptr. Unlike a linear
    // view, this one does not know of secure buffers: the caller does not map them.
    std::unique_ptr<Mapping> map() { return mapInternal(true); }
    std::unique_ptr<Mapping> mapReadOnly() const { return mapInternal(false); }
    std::unique_ptr<Mapping> mapInternal(bool writable) const;

    // Map the planes() of a linear format, for reading and writing or for reading only. Empty, with
    // an error line, for a format without planes, when the rows reach beyond the allocation, and
    // when mapping fails; empty without a line for an invalid view.
    Planes mapPlanes() { return mapPlanesInternal(true); }
    Planes mapPlanesReadOnly() const { return mapPlanesInternal(false); }

    // The pixels in a mapping of this view, from offset() to its end. Nothing if the mapping is
    // null, has failed, or ends before.
    Bytes bytes(const std::unique_ptr<Mapping>& mapping) const;

    // A new C2Buffer of the block with the present crop; null, with a warning, without a writable
    // block.
    std::shared_ptr<C2Buffer> share();

  private:
    Planes mapPlanesInternal(bool writable) const;

    LX2Buffer* mParent;
    bool mValid;
    C2Rect mCrop;
    uint32_t mAllocSize = 0;
    uint32_t mCompressedSize = 0;
    std::unique_ptr<LX2PlatformBuffer> mPlatformBuffer;
    std::shared_ptr<C2GraphicBlock> mBlock;
};

// A C2Buffer of one block, for the framework. It keeps the block, and so the memory, alive.
class LX2_API LX2SharedBuffer : public C2Buffer {
  public:
    explicit LX2SharedBuffer(C2ConstLinearBlock block);
    explicit LX2SharedBuffer(C2ConstGraphicBlock block);
};

}  // namespace lx2
