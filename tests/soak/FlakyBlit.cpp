// The blit stand-in with now and then a mapping or a draw that fails, as on a device under load.
#include <dlfcn.h>
#include <lx2device/BlitLibrary.h>

#include <atomic>

namespace {

using namespace lx2::blit;

template <typename Function>
Function Real(const char* name) {
    static void* library = dlopen(LX2_REAL_LIBRARY, RTLD_NOW);
    return reinterpret_cast<Function>(library != nullptr ? dlsym(library, name) : nullptr);
}

// Every nth time.
bool Strikes(std::atomic<uint32_t>* count, uint32_t n) {
    return ++*count % n == 0;
}

}  // namespace

#define FORWARD(Type, name) static const auto real = Real<Type>(name)
#define EXPORT extern "C" __attribute__((visibility("default"))) int32_t

EXPORT gbxCreateSurface(uint32_t* surface, uint32_t bits, uint32_t type, const void* definition) {
    FORWARD(CreateSurface, "gbxCreateSurface");
    return real(surface, bits, type, definition);
}
EXPORT gbxUpdateSurface(uint32_t surface, uint32_t bits, uint32_t type, const void* definition) {
    FORWARD(UpdateSurface, "gbxUpdateSurface");
    return real(surface, bits, type, definition);
}
EXPORT gbxDraw(uint32_t target, uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d,
               const BlitObject* objects, uint32_t count) {
    FORWARD(Draw, "gbxDraw");
    static std::atomic<uint32_t> draws{0};
    return Strikes(&draws, 97) ? -5 : real(target, a, b, c, d, objects, count);
}
EXPORT gbxFinish(uint32_t target) {
    FORWARD(Finish, "gbxFinish");
    return real(target);
}
EXPORT gbxDestroySurface(uint32_t surface) {
    FORWARD(DestroySurface, "gbxDestroySurface");
    return real(surface);
}
EXPORT gbxMapAddr(int fd, void* cpu, size_t length, uintptr_t a, uint32_t flags, uint64_t* gpu) {
    FORWARD(MapAddr, "gbxMapAddr");
    static std::atomic<uint32_t> mappings{0};
    return Strikes(&mappings, 211) ? -12 : real(fd, cpu, length, a, flags, gpu);
}
EXPORT gbxUnMapAddr(uint64_t gpu) {
    FORWARD(UnMapAddr, "gbxUnMapAddr");
    return real(gpu);
}
EXPORT gbxReadSurface() {
    return 0;
}
EXPORT gbxFlush() {
    return 0;
}
EXPORT gbxWaitTimestamp() {
    return 0;
}
