#include "DisplayMetadata.h"

#include <dlfcn.h>

#include "GrallocLog.h"

namespace lx2 {

namespace {

constexpr const char* kLibrary = "libLxdMetaData.so";

DisplayMetadataFunction Resolve(void* library, const char* name) {
    return reinterpret_cast<DisplayMetadataFunction>(dlsym(library, name));
}

}  // namespace

LX2LXDMetadata::LX2LXDMetadata() {
    LX2_LOGD("LX2LXDMetadata");
    mHandle = dlopen(kLibrary, RTLD_NOW | RTLD_GLOBAL);
    if (mHandle == nullptr) {
        LX2_LOGE("LX2LXDMetadata failed to open %s: %s", kLibrary, dlerror());
        return;
    }
    getMetaDataAndUnmap = Resolve(mHandle, "getMetaDataAndUnmap");
    setMetaDataAndUnmap = Resolve(mHandle, "setMetaDataAndUnmap");
}

LX2LXDMetadata::~LX2LXDMetadata() {
    LX2_LOGD("~LX2LXDMetadata");
    if (mHandle != nullptr)
        dlclose(mHandle);
    mHandle = nullptr;
    getMetaDataAndUnmap = nullptr;
    setMetaDataAndUnmap = nullptr;
}

}  // namespace lx2
