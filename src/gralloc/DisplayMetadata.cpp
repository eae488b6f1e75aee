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

}  // namespace lx2
