// The device's 2-D blit library, opened by name: its records byte by byte, and its entry points as
// this library calls them. This library writes the records, the blit library reads them. Every
// status is 0 on success.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lx2::blit {

constexpr const char* kLibrary = "libGBX2.so";

// Which side of a draw a surface is for.
constexpr uint32_t kSourceBits = 1;
constexpr uint32_t kTargetBits = 2;

// What a definition record describes, and whether it is read for the first time or again.
constexpr uint32_t kUpdateRgb = 9;
constexpr uint32_t kUpdateYuv = 11;
constexpr uint32_t kCreateRgb = 25;
constexpr uint32_t kCreateYuv = 27;

constexpr uint32_t kMapFlags = 3;

// Color codes. The linear semi-planar formats share one: they differ in strides and addresses only.
constexpr uint32_t kCodeRgba = 0xA14;
constexpr uint32_t kCodeSemiPlanar = 0x98;
constexpr uint32_t kCodePlanarCrFirst = 0xAC;
constexpr uint32_t kCodePlanarCbFirst = 0xAD;
constexpr uint32_t kCodePacked10Bit = 0xBF;
constexpr uint32_t kCodeCompressed = 0x800000;  // added to the layout that is compressed

// The codes of three separate planes, which differ in their last bit.
constexpr bool IsPlanar(uint32_t code) {
    return (code & ~1u) == kCodePlanarCrFirst;
}

struct Plane {
    uint64_t cpu;
    uint64_t gpu;
    uint32_t stride;  // bytes
    uint32_t padding;
};

// A surface definition. That of an RGB surface ends after the first plane.
struct SurfaceDef {
    uint32_t code;
    uint32_t width;
    uint32_t height;
    uint32_t padding;
    Plane planes[3];
};

constexpr size_t kRgbDefSize = 40;
constexpr size_t kYuvDefSize = 88;

static_assert(offsetof(SurfaceDef, code) == 0);
static_assert(offsetof(SurfaceDef, width) == 4);
static_assert(offsetof(SurfaceDef, height) == 8);
static_assert(offsetof(SurfaceDef, planes[0].cpu) == 16);
static_assert(offsetof(SurfaceDef, planes[0].gpu) == 24);
static_assert(offsetof(SurfaceDef, planes[0].stride) == 32);
static_assert(offsetof(SurfaceDef, planes[1].cpu) == kRgbDefSize);
static_assert(offsetof(SurfaceDef, planes[1].gpu) == 48);
static_assert(offsetof(SurfaceDef, planes[1].stride) == 56);
static_assert(offsetof(SurfaceDef, planes[2].cpu) == 64);
static_assert(offsetof(SurfaceDef, planes[2].gpu) == 72);
static_assert(offsetof(SurfaceDef, planes[2].stride) == 80);
static_assert(sizeof(SurfaceDef) == kYuvDefSize);

// 16.16 fixed point.
struct Rect {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
};

constexpr int32_t ToFixed(uint32_t pixels) {
    return static_cast<int32_t>(pixels << 16);
}

// The blit library's own; passed as it is.
constexpr uint32_t kConfigurationMask = 0x0200C010;

// What to draw.
struct BlitObject {
    uint32_t sourceSurface;
    uint32_t reserved0[3];
    uint32_t configuration;
    Rect source;
    Rect target;
    uint32_t reserved1[13];
};

static_assert(offsetof(BlitObject, sourceSurface) == 0);
static_assert(offsetof(BlitObject, configuration) == 16);
static_assert(offsetof(BlitObject, source) == 20);
static_assert(offsetof(BlitObject, target) == 36);
static_assert(offsetof(BlitObject, reserved1) == 52);
static_assert(sizeof(BlitObject) == 104);

// Arguments that are always zero are passed as whole registers: that is right whether the library
// takes them for numbers or for pointers.
using CreateSurface = int32_t (*)(uint32_t* surface, uint32_t bits, uint32_t type,
                                  const void* definition);
using UpdateSurface = int32_t (*)(uint32_t surface, uint32_t bits, uint32_t type,
                                  const void* definition);
using Draw = int32_t (*)(uint32_t target, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                         const BlitObject* objects, uint32_t count);
using Finish = int32_t (*)(uint32_t target);
using DestroySurface = int32_t (*)(uint32_t surface);
using MapAddr = int32_t (*)(int fd, void* cpu, size_t length, uintptr_t, uint32_t flags,
                            uint64_t* gpu);
using UnMapAddr = int32_t (*)(uint64_t gpu);
using Unused = int32_t (*)();  // has to be there, is never called

struct EntryPoints {
    CreateSurface createSurface = nullptr;
    UpdateSurface updateSurface = nullptr;
    Unused readSurface = nullptr;
    Draw draw = nullptr;
    Unused flush = nullptr;
    Finish finish = nullptr;
    Unused waitTimestamp = nullptr;
    DestroySurface destroySurface = nullptr;
    MapAddr mapAddr = nullptr;
    UnMapAddr unMapAddr = nullptr;
};

}  // namespace lx2::blit
