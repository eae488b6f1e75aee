#include "RecordingBlit.h"

#include <lx2/Export.h>
#include <lx2device/BlitLibrary.h>

#include <cstring>
#include <sstream>
#include <tuple>

using lx2::test::RecordingBlit;

namespace {

RecordingBlit& Recording() {
    static RecordingBlit recording;
    return recording;
}

int32_t Note(const char* name, const std::vector<uint64_t>& arguments, const void* record = nullptr,
             size_t size = 0) {
    std::ostringstream call;
    call << name << std::hex;
    for (uint64_t argument : arguments)
        call << ' ' << argument;
    call << (record != nullptr ? " |" : "");
    for (size_t at = 0; at < size; at += sizeof(uint64_t)) {
        uint64_t word;
        memcpy(&word, static_cast<const uint8_t*>(record) + at, sizeof(word));
        call << ' ' << word;
    }
    Recording().calls.push_back(call.str());
    auto& statuses = Recording().statuses[name];
    if (statuses.empty())
        return 0;
    const int32_t status = statuses.front();
    statuses.pop_front();
    return status;
}

size_t DefSize(uint32_t type) {
    return type == lx2::blit::kCreateRgb || type == lx2::blit::kUpdateRgb ? lx2::blit::kRgbDefSize
                                                                          : lx2::blit::kYuvDefSize;
}

}  // namespace

extern "C" {

LX2_API RecordingBlit* lx2RecordingBlit() {
    return &Recording();
}

LX2_API int32_t gbxCreateSurface(uint32_t* surface, uint32_t bits, uint32_t type,
                                 const void* definition) {
    const int32_t status = Note("CreateSurface", {bits, type}, definition, DefSize(type));
    if (status == 0)
        *surface = Recording().nextSurface++;
    return status;
}

LX2_API int32_t gbxUpdateSurface(uint32_t surface, uint32_t bits, uint32_t type,
                                 const void* definition) {
    return Note("UpdateSurface", {surface, bits, type}, definition, DefSize(type));
}

LX2_API int32_t gbxDraw(uint32_t target, uintptr_t a, uintptr_t b, uintptr_t c, uintptr_t d,
                        const void* objects, uint32_t count) {
    return Note("Draw", {target, a, b, c, d, count}, objects, sizeof(lx2::blit::BlitObject));
}

LX2_API int32_t gbxDestroySurface(uint32_t surface) {
    return Note("DestroySurface", {surface});
}

LX2_API int32_t gbxMapAddr(int fd, void* cpu, size_t length, uintptr_t zero, uint32_t flags,
                           uint64_t* gpu) {
    const int32_t status = Note("MapAddr", {static_cast<uint64_t>(fd),
                                            reinterpret_cast<uintptr_t>(cpu), length, zero, flags});
    if (status == 0)
        *gpu = Recording().nextAddress += 0x1000000;
    return status;
}

LX2_API int32_t gbxUnMapAddr(uint64_t gpu) {
    return Note("UnMapAddr", {gpu});
}

// Bound, never called.
LX2_API void gbxReadSurface() {}
LX2_API void gbxFlush() {}
LX2_API void gbxWaitTimestamp() {}

LX2_API void compute_fmt_aligned_width_and_height(uint32_t a, uint32_t b, uint32_t c, uint32_t d,
                                                  uint32_t e, uint32_t f, uint32_t g, uint32_t h,
                                                  int32_t* width, int32_t* height) {
    Note("Align", {a, b, c, d, e, f, g, h});
    std::tie(*width, *height) = Recording().aligned;
}

LX2_API int32_t gbxFinish(uint32_t target) {
    return Note("Finish", {target});
}

}  // extern "C"
