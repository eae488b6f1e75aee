#include "DisplayMetadata.h"

#include <base/LogModules.h>
#include <dlfcn.h>

namespace lx2 {

constexpr LogModule kLog = kGrallocLog;

namespace {

DisplayMetadataFunction Resolve(void* library, const char* name) {
    return reinterpret_cast<DisplayMetadataFunction>(dlsym(library, name));
}

}  // namespace

LX2LXDMetadata::LX2LXDMetadata() {
    LX2_LOGD("LX2LXDMetadata");
    mHandle = dlopen(kDisplayMetadataLibrary, RTLD_NOW | RTLD_GLOBAL);
    if (mHandle == nullptr) {
        LX2_LOGE("LX2LXDMetadata failed to open %s: %s", kDisplayMetadataLibrary, dlerror());
        return;
    }
    getMetaDataAndUnmap = Resolve(mHandle, kGetMetadataFunction);
    setMetaDataAndUnmap = Resolve(mHandle, kSetMetadataFunction);
}

LX2LXDMetadata::~LX2LXDMetadata() {
    LX2_LOGD("~LX2LXDMetadata");
    if (mHandle != nullptr)
        dlclose(mHandle);
    mHandle = nullptr;
    getMetaDataAndUnmap = nullptr;
    setMetaDataAndUnmap = nullptr;
}

bool SetRecord(void* handle, DisplayMetadataType type, void* record, const char* name) {
    const bool done =
        LX2LXDMetadata::sLibrary.setMetaDataAndUnmap(handle, static_cast<int>(type), record) == 0;
    if (done)
        LX2_LOGT("Set metadata: %s suceeded", name);
    else
        LX2_LOGW("Set metadata: %s failed !", name);
    return done;
}

}  // namespace lx2
