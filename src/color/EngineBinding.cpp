// Opening and closing the blit library and the GPU utility library.
#include <base/LogModules.h>
#include "Engine.h"

namespace lx2 {

constexpr LogModule kLog = kEngineLog;

namespace {

template <typename Function>
bool Resolve(void* library, const char* name, Function* function) {
    *function = reinterpret_cast<Function>(dlsym(library, name));
    if (*function == nullptr)
        LX2_LOGE("%s: dlsym %s failed, disable gbx engine", "Engine", name);
    return *function != nullptr;
}

}  // namespace

LX2ColorConverter::Engine::Engine() {
    // What is open by then stays open until the engine goes.
    if (!bind())
        mEnabled = false;
}

LX2ColorConverter::Engine::~Engine() {
    destroySurface(&mSrc);
    destroySurface(&mDst);
}

bool LX2ColorConverter::Engine::bind() {
    mBlitLibrary.reset(dlopen(blit::kLibrary, RTLD_NOW));
    if (mBlitLibrary == nullptr) {
        LX2_LOGE("%s: open libGBX2.so failed (%s), gbx disabled", "Engine", dlerror());
        return false;
    }
    mUtilityLibrary.reset(dlopen(gpuutility::kLibrary, RTLD_NOW));
    if (mUtilityLibrary == nullptr) {
        LX2_LOGE("%s: sopen libferrum_utils.so failed (%s), gbx disabled", "Engine", dlerror());
        return false;
    }
    return resolve();
}

bool LX2ColorConverter::Engine::resolve() {
    void* library = mBlitLibrary.get();
    return Resolve(library, "gbxCreateSurface", &mBlit.createSurface) &&
           Resolve(library, "gbxUpdateSurface", &mBlit.updateSurface) &&
           Resolve(library, "gbxReadSurface", &mBlit.readSurface) &&
           Resolve(library, "gbxDraw", &mBlit.draw) && Resolve(library, "gbxFlush", &mBlit.flush) &&
           Resolve(library, "gbxFinish", &mBlit.finish) &&
           Resolve(library, "gbxWaitTimestamp", &mBlit.waitTimestamp) &&
           Resolve(library, "gbxDestroySurface", &mBlit.destroySurface) &&
           Resolve(library, "gbxMapAddr", &mBlit.mapAddr) &&
           Resolve(library, "gbxUnMapAddr", &mBlit.unMapAddr) &&
           Resolve(mUtilityLibrary.get(), gpuutility::kAlignFunction, &mAlign);
}

}  // namespace lx2
