// What a test may know and change of the mapper service.
#pragma once

#include <android/hardware/graphics/mapper/3.0/IMapper.h>

#include <cstddef>
#include <functional>

namespace lx2::host {

// Imported handles that are not freed yet.
__attribute__((visibility("default"))) size_t LiveImports();

using MapperService = android::sp<android::hardware::graphics::mapper::V3_0::IMapper>;

// Makes getService answer with what provider gives, which may be null; an empty provider brings the
// real service back. Connections made earlier stay as they are.
__attribute__((visibility("default"))) void SetMapperProvider(
    std::function<MapperService()> provider);

// Makes the real service answer imports and frees with these errors; NONE lets them work again.
__attribute__((visibility("default"))) void SetMapperErrors(
    android::hardware::graphics::mapper::V3_0::Error onImport,
    android::hardware::graphics::mapper::V3_0::Error onFree);

}  // namespace lx2::host
