// libGBX2.so: the blit library's ten entry points.
#include <lx2/Export.h>

#include "Blitter.h"

namespace {

lx2::host::Blitter& TheBlitter() {
    static lx2::host::Blitter blitter;
    return blitter;
}

}  // namespace

extern "C" {

LX2_API int32_t gbxCreateSurface(uint32_t* surface, uint32_t bits, uint32_t type,
                                 const void* definition) {
    return TheBlitter().createSurface(surface, bits, type, definition);
}

LX2_API int32_t gbxUpdateSurface(uint32_t surface, uint32_t bits, uint32_t type,
                                 const void* definition) {
    return TheBlitter().updateSurface(surface, bits, type, definition);
}

LX2_API int32_t gbxDraw(uint32_t target, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                        const lx2::blit::BlitObject* objects, uint32_t count) {
    return TheBlitter().draw(target, objects, count);
}

LX2_API int32_t gbxFinish(uint32_t target) {
    return TheBlitter().finish(target);
}

LX2_API int32_t gbxDestroySurface(uint32_t surface) {
    return TheBlitter().destroySurface(surface);
}

LX2_API int32_t gbxMapAddr(int fd, void* cpu, size_t length, uintptr_t, uint32_t flags,
                           uint64_t* gpu) {
    return TheBlitter().map(fd, cpu, length, flags, gpu);
}

LX2_API int32_t gbxUnMapAddr(uint64_t gpu) {
    return TheBlitter().unmap(gpu);
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
