// libGBX2.so: the blit library's ten entry points.
#include <lx2/Export.h>

#include <new>

#include "Blitter.h"

namespace {

using lx2::host::Blitter;

Blitter& TheBlitter() {
    static Blitter blitter;
    return blitter;
}

// What the blitter answers. No exception leaves a C function.
template <typename... Parameters, typename... Arguments>
int32_t Call(int32_t (Blitter::*function)(Parameters...), Arguments... arguments) {
    try {
        return (TheBlitter().*function)(arguments...);
    } catch (const std::bad_alloc&) {
        return lx2::host::kBlitNoMemory;
    }
}

}  // namespace

extern "C" {

LX2_API int32_t gbxCreateSurface(uint32_t* surface, uint32_t bits, uint32_t type,
                                 const void* definition) {
    return Call(&Blitter::createSurface, surface, bits, type, definition);
}

LX2_API int32_t gbxUpdateSurface(uint32_t surface, uint32_t bits, uint32_t type,
                                 const void* definition) {
    return Call(&Blitter::updateSurface, surface, bits, type, definition);
}

LX2_API int32_t gbxDraw(uint32_t target, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                        const lx2::blit::BlitObject* objects, uint32_t count) {
    return Call(&Blitter::draw, target, objects, count);
}

LX2_API int32_t gbxFinish(uint32_t target) {
    return Call(&Blitter::finish, target);
}

LX2_API int32_t gbxDestroySurface(uint32_t surface) {
    return Call(&Blitter::destroySurface, surface);
}

LX2_API int32_t gbxMapAddr(int fd, void* cpu, size_t length, uintptr_t, uint32_t flags,
                           uint64_t* gpu) {
    return Call(&Blitter::map, fd, cpu, length, flags, gpu);
}

LX2_API int32_t gbxUnMapAddr(uint64_t gpu) {
    return Call(&Blitter::unmap, gpu);
}

// Nobody calls these; what they take is not known here.
LX2_API int32_t gbxReadSurface() {
    return lx2::host::kBlitNotSupported;
}

LX2_API int32_t gbxFlush() {
    return lx2::host::kBlitNotSupported;
}

LX2_API int32_t gbxWaitTimestamp() {
    return lx2::host::kBlitNotSupported;
}

}  // extern "C"
