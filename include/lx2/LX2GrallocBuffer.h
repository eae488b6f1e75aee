// Graphic buffers of the platform: the handle behind a graphic view, what it says of the buffer,
// and the metadata that the display stack keeps with it.
#pragma once

#include <C2Buffer.h>
#include <C2Config.h>
#include <C2Param.h>
#include <lx2/Export.h>
#include <lx2/LX2Status.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace android::hardware::graphics::mapper::V3_0 {
struct IMapper;
}

namespace lx2 {

// What the platform knows of one graphic buffer. Accessors of an object whose handle could not be
// imported give the invalid value named with each; they never log.
class LX2_API LX2PlatformBuffer {
  public:
    // Never null. A handle that can't be imported is logged and gives an object whose accessors
    // return their invalid values. The handle stays the caller's.
    static std::unique_ptr<LX2PlatformBuffer> Create(const native_handle_t* handle);

    virtual ~LX2PlatformBuffer();

    virtual int fd() = 0;                // of the pixels, owned by this object; -1
    virtual uint32_t allocSize() = 0;    // bytes; 0
    virtual uint32_t offset() = 0;       // of the pixels in the allocation, bytes; all ones
    virtual uint32_t width() = 0;        // as requested, pixels; all ones
    virtual uint32_t height() = 0;       // as requested, rows; all ones
    virtual uint32_t stride() = 0;       // aligned width, pixels; all ones
    virtual uint32_t sliceHeight() = 0;  // aligned height, rows; all ones
    virtual uint32_t format() = 0;       // a PixFormat value; 0
    virtual uint32_t flags() = 0;        // usage flags of the allocation; all ones
    virtual uint64_t id() = 0;           // of the allocation, the same in every import; all ones

    // Fetches the requested kinds of metadata as C2 parameters, appended to out.
    // C2_OK when at least one was appended; LX2_ERROR otherwise.
    virtual LX2Status getMetadata(const std::vector<C2Param::Type>& types,
                                  std::vector<std::unique_ptr<C2Param>>* out) = 0;

    // Fetches all kinds that there are: per-buffer information is appended to infos, parameters
    // that update the stream's configuration to configUpdates. C2_OK when at least one was fetched;
    // LX2_ERROR otherwise.
    virtual LX2Status getMetadata(std::vector<std::unique_ptr<C2Param>>* infos,
                                  std::vector<std::unique_ptr<C2Param>>* configUpdates) = 0;

    // Writes the infos that it recognises. What can't be written is logged.
    // C2_OK; LX2_ERROR when there is no handle or no display-metadata library.
    virtual LX2Status setMetadata(const std::vector<std::shared_ptr<C2Info>>& infos) = 0;
};

// A platform buffer over an imported gralloc handle. The import is freed with the object.
class LX2_API LX2GrallocBuffer : public LX2PlatformBuffer {
  public:
    // handle: as a C2 graphic block carries it. It stays the caller's.
    explicit LX2GrallocBuffer(const native_handle_t* handle);
    ~LX2GrallocBuffer() override;

    LX2GrallocBuffer(const LX2GrallocBuffer&) = delete;
    LX2GrallocBuffer& operator=(const LX2GrallocBuffer&) = delete;

    int fd() override;
    uint32_t allocSize() override;
    uint32_t offset() override;
    uint32_t width() override;
    uint32_t height() override;
    uint32_t stride() override;
    uint32_t sliceHeight() override;
    uint32_t format() override;
    uint32_t flags() override;
    uint64_t id() override;

    LX2Status getMetadata(const std::vector<C2Param::Type>& types,
                          std::vector<std::unique_ptr<C2Param>>* out) override;
    LX2Status getMetadata(std::vector<std::unique_ptr<C2Param>>* infos,
                          std::vector<std::unique_ptr<C2Param>>* configUpdates) override;
    LX2Status setMetadata(const std::vector<std::shared_ptr<C2Info>>& infos) override;

    // Replaces the allocation size that this import reports, in bytes; other imports keep theirs.
    // An invalid object stays as it is.
    void setAllocSize(uint32_t size);

  private:
    native_handle_t* mHandle = nullptr;
    bool mValid = false;
};

// The process's one connection to the graphics mapper service, version 3.0. Made on first use, gone
// when the library is unloaded. Safe to call from any thread.
class LX2_API LX2Mapper3Helper {
  public:
    // The instance. Never null.
    static LX2Mapper3Helper* Get();

    LX2Mapper3Helper();
    ~LX2Mapper3Helper();

    LX2Mapper3Helper(const LX2Mapper3Helper&) = delete;
    LX2Mapper3Helper& operator=(const LX2Mapper3Helper&) = delete;

    // Makes a handle valid in this process. The result is given back through freeBuffer.
    // Null on failure, which is logged.
    native_handle_t* importBuffer(const native_handle_t* handle);

    // Gives an imported handle back. Failure is logged.
    void freeBuffer(native_handle_t* handle);

  private:
    android::sp<android::hardware::graphics::mapper::V3_0::IMapper> mMapper;
    bool mUsable;

    static std::unique_ptr<LX2Mapper3Helper> sMapperHelper;
    static std::mutex sLock;
};

}  // namespace lx2
