// The display-metadata stand-in with now and then a call that fails.
#include <dlfcn.h>

#include <atomic>
#include <cstdint>

namespace {

using Function = int (*)(void* handle, int type, void* data);

int Call(const char* name, void* handle, int type, void* data) {
    static void* library = dlopen(LX2_REAL_LIBRARY, RTLD_NOW);
    static std::atomic<uint32_t> calls{0};
    const auto real =
        reinterpret_cast<Function>(library != nullptr ? dlsym(library, name) : nullptr);
    return real == nullptr || ++calls % 301 == 0 ? -1 : real(handle, type, data);
}

}  // namespace

#define EXPORT extern "C" __attribute__((visibility("default"))) int

EXPORT getMetaDataAndUnmap(void* handle, int type, void* data) {
    return Call("getMetaDataAndUnmap", handle, type, data);
}
EXPORT setMetaDataAndUnmap(void* handle, int type, void* data) {
    return Call("setMetaDataAndUnmap", handle, type, data);
}
