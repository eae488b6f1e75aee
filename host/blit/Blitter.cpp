#include "Blitter.h"

#include <base/FrameGeometry.h>
#include <fcntl.h>
#include <lx2host/DmaBuf.h>
#include <lx2host/VideoCore.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <utility>
#include <vector>

namespace lx2::host {

namespace {

constexpr uint32_t kCreatedFrom = 16;  // a record's type at creation, against that of an update

bool IsRgbType(uint32_t type) {
    return type == blit::kUpdateRgb || type == blit::kCreateRgb;
}

bool IsKnownType(uint32_t type) {
    return IsRgbType(type) || type == blit::kUpdateYuv || type == blit::kCreateYuv;
}

// The format that a code is drawn as; those that share one differ in what the record says only.
uint32_t FormatOf(uint32_t code) {
    if (code == 0)
        return 0;
    for (const geometry::FormatRow& row : geometry::kFormats) {
        if (row.blitCode == code)
            return row.format;
    }
    return 0;
}

bool IsWhole(const blit::Rect& rect, const blit::SurfaceDef& def) {
    return rect.x == 0 && rect.y == 0 && rect.width == blit::ToFixed(def.width) &&
           rect.height == blit::ToFixed(def.height);
}

// Whether every page of a range is mapped into this process.
bool IsMapped(const void* start, size_t length) {
    const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<uintptr_t>(start);
    const uintptr_t first = address & ~(page - 1);
    const uintptr_t size = address - first + length;
    std::vector<unsigned char> resident((size + page - 1) / page);
    return mincore(reinterpret_cast<void*>(first), size, resident.data()) == 0;
}

}  // namespace

const Blitter::Surface* Blitter::find(uint32_t id, uint32_t bits) const {
    const auto found = mSurfaces.find(id);
    return found != mSurfaces.end() && found->second.bits == bits ? &found->second : nullptr;
}

int32_t Blitter::createSurface(uint32_t* id, uint32_t bits, uint32_t type, const void* definition) {
    if (id == nullptr || definition == nullptr || !IsKnownType(type) || type < kCreatedFrom ||
        (bits != blit::kSourceBits && bits != blit::kTargetBits))
        return kBlitBadArgument;
    Surface surface;
    surface.bits = bits;
    memcpy(&surface.def, definition, IsRgbType(type) ? blit::kRgbDefSize : blit::kYuvDefSize);
    surface.format = FormatOf(surface.def.code);
    if (surface.format == 0 || geometry::IsRgb(surface.format) != IsRgbType(type))
        return kBlitUnknownFormat;
    std::lock_guard<std::mutex> guard(mLock);
    mSurfaces[mNextSurface] = surface;
    *id = mNextSurface++;
    return kBlitOk;
}

int32_t Blitter::updateSurface(uint32_t id, uint32_t bits, uint32_t type, const void* definition) {
    if (definition == nullptr || !IsKnownType(type) || type >= kCreatedFrom)
        return kBlitBadArgument;
    std::lock_guard<std::mutex> guard(mLock);
    const auto found = mSurfaces.find(id);
    if (found == mSurfaces.end() || found->second.bits != bits)
        return kBlitUnknownSurface;
    Surface& surface = found->second;
    if (geometry::IsRgb(surface.format) != IsRgbType(type))
        return kBlitUnknownFormat;
    blit::SurfaceDef def{};
    memcpy(&def, definition, IsRgbType(type) ? blit::kRgbDefSize : blit::kYuvDefSize);
    if (def.code != surface.def.code || def.width != surface.def.width ||
        def.height != surface.def.height)
        return kBlitBadArgument;
    surface.def = def;
    return kBlitOk;
}

int32_t Blitter::destroySurface(uint32_t id) {
    std::lock_guard<std::mutex> guard(mLock);
    return mSurfaces.erase(id) == 1 ? kBlitOk : kBlitUnknownSurface;
}

// Drawing is over when draw() returns.
int32_t Blitter::finish(uint32_t target) {
    std::lock_guard<std::mutex> guard(mLock);
    return find(target, blit::kTargetBits) != nullptr ? kBlitOk : kBlitUnknownSurface;
}

int32_t Blitter::map(int fd, void* cpu, size_t length, uint32_t flags, uint64_t* gpu) {
    if (cpu == nullptr || length == 0 || flags != blit::kMapFlags || gpu == nullptr ||
        fcntl(fd, F_GETFD) < 0)
        return kBlitBadArgument;
    Mapping mapping;
    mapping.cpu = mapping.bytes = static_cast<uint8_t*>(cpu);
    mapping.length = length;
    mapping.track = trace::TrackOf(fd);
    // Of a DMA-BUF its own memory alone; other descriptors stand for any memory of the process.
    if (IsDmaBuf(fd)) {
        mapping.memory = HardwareMemory::Of(fd);
        const auto offset = OffsetInDmaBuf(fd, cpu, length);
        if (mapping.memory == nullptr || !offset || *offset + length > mapping.memory->size())
            return kBlitBadAddress;
        mapping.bytes = mapping.memory->data() + *offset;
    } else if (!IsMapped(cpu, length)) {
        return kBlitBadAddress;
    }
    constexpr uint64_t kPage = 4096;
    std::lock_guard<std::mutex> guard(mLock);
    mMappings[mNextAddress] = std::move(mapping);
    *gpu = mNextAddress;
    // An unused page keeps neighbours apart.
    mNextAddress += geometry::Align<uint64_t>(length, kPage) + kPage;
    return kBlitOk;
}

int32_t Blitter::unmap(uint64_t gpu) {
    std::lock_guard<std::mutex> guard(mLock);
    return mMappings.erase(gpu) == 1 ? kBlitOk : kBlitBadAddress;
}

const Blitter::Mapping* Blitter::mappingAt(uint64_t gpu) const {
    auto next = mMappings.upper_bound(gpu);
    if (next == mMappings.begin())
        return nullptr;
    const auto& [address, mapping] = *--next;
    return gpu - address < mapping.length ? &mapping : nullptr;
}

// The first plane's GPU address names the mapping; where the planes are in it, their CPU addresses
// say. The distances between planes are the same on both sides.
std::optional<Blitter::Target> Blitter::resolve(const Surface& surface) const {
    const auto& planes = surface.def.planes;
    const Mapping* mapping = mappingAt(planes[0].gpu);
    if (mapping == nullptr)
        return std::nullopt;
    const auto start = reinterpret_cast<uintptr_t>(mapping->cpu);
    const uint32_t planeCount = geometry::IsRgb(surface.format)    ? 1
                                : blit::IsPlanar(surface.def.code) ? 3
                                                                   : 2;
    PlanePlacements placements;
    for (uint32_t i = 0; i < planeCount; ++i) {
        if (planes[i].cpu < start || planes[i].cpu - start > mapping->length ||
            planes[i].gpu - planes[0].gpu != planes[i].cpu - planes[0].cpu)
            return std::nullopt;
        placements[i] = {planes[i].cpu - start, planes[i].stride};
    }
    const auto layout = LayoutAt(surface.format, surface.def.width, surface.def.height, placements);
    if (!layout || layout->end() > mapping->length)
        return std::nullopt;
    return Target{mapping->bytes, *layout, mapping->track};
}

int32_t Blitter::draw(uint32_t target, const blit::BlitObject* objects, uint32_t count) {
    if (objects == nullptr || count == 0)
        return kBlitBadArgument;
    const blit::BlitObject& object = *objects;
    std::lock_guard<std::mutex> guard(mLock);
    const Surface* from = find(object.sourceSurface, blit::kSourceBits);
    const Surface* to = find(target, blit::kTargetBits);
    if (from == nullptr || to == nullptr)
        return kBlitUnknownSurface;
    if (count != 1 || object.configuration != blit::kConfigurationMask ||
        from->def.width != to->def.width || from->def.height != to->def.height ||
        !IsWhole(object.source, from->def) || !IsWhole(object.target, to->def))
        return kBlitNotSupported;
    const auto source = resolve(*from);
    const auto destination = resolve(*to);
    if (!source || !destination)
        return kBlitBadAddress;
    const auto traced = trace::Blit(source->track, destination->track);
    CopyFrame(source->memory, source->layout, destination->memory, destination->layout);
    return kBlitOk;
}

}  // namespace lx2::host
