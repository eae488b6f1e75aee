#include <PrivateRecord.h>
#include <Trace.h>
#include <lx2host/HardwareMemory.h>
#include <lx2host/Mapper.h>

#include <mutex>
#include <unordered_map>
#include <utility>

namespace lx2::host {

namespace {

using android::hardware::hidl_handle;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::graphics::mapper::V3_0::Error;
using android::hardware::graphics::mapper::V3_0::IMapper;

struct MapperState {
    std::mutex lock;
    std::unordered_map<void*, trace::Slice> imports;
    std::function<MapperService()> provider;
    Error onImport = Error::NONE;
    Error onFree = Error::NONE;
};

// Leaked on purpose: handles are freed while the process takes its static objects down.
MapperState& State() {
    static auto* state = new MapperState;
    return *state;
}

class Mapper : public IMapper {
  public:
    Return<void> importBuffer(const hidl_handle& rawHandle, importBuffer_cb callback) override {
        native_handle_t* imported = nullptr;
        const Error error = import(rawHandle.getNativeHandle(), &imported);
        callback(error, imported);
        return Void();
    }

    Return<Error> freeBuffer(void* buffer) override {
        MapperState& state = State();
        {
            std::lock_guard<std::mutex> guard(state.lock);
            if (state.onFree != Error::NONE)
                return state.onFree;
            if (state.imports.erase(buffer) == 0)
                return Error::BAD_BUFFER;
        }
        CloseHandle()(static_cast<native_handle_t*>(buffer));
        return Error::NONE;
    }

  private:
    static Error import(const native_handle_t* handle, native_handle_t** imported) {
        MapperState& state = State();
        std::lock_guard<std::mutex> guard(state.lock);
        if (state.onImport != Error::NONE)
            return state.onImport;
        // Only the allocator's own records are let in.
        if (PrivateRecordOf(handle) == nullptr)
            return Error::BAD_BUFFER;
        OwnedHandle clone(native_handle_clone(handle));
        if (clone == nullptr)
            return Error::NO_RESOURCES;
        HardwareMemory::Hold(clone.get());
        state.imports.emplace(clone.get(),
                              trace::Begin(trace::TrackOf(clone->data[0]), "import", "import"));
        *imported = clone.release();
        return Error::NONE;
    }
};

}  // namespace

size_t LiveImports() {
    MapperState& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    return state.imports.size();
}

void SetMapperProvider(std::function<MapperService()> provider) {
    MapperState& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    state.provider = std::move(provider);
}

void SetMapperErrors(Error onImport, Error onFree) {
    MapperState& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    state.onImport = onImport;
    state.onFree = onFree;
}

}  // namespace lx2::host

namespace android::hardware::graphics::mapper::V3_0 {

sp<IMapper> IMapper::getService(const std::string& serviceName, bool getStub) {
    std::function<lx2::host::MapperService()> provider;
    {
        std::lock_guard<std::mutex> guard(lx2::host::State().lock);
        provider = lx2::host::State().provider;
    }
    if (provider)
        return provider();
    if (serviceName != "default" || getStub)
        return nullptr;  // there is one service, and no implementation without one
    return sp<IMapper>(new lx2::host::Mapper);
}

}  // namespace android::hardware::graphics::mapper::V3_0
