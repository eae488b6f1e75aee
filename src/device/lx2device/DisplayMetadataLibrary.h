// The display-metadata library, libLxdMetaData.so, opened by name: it keeps metadata beside each
// graphic buffer. This library hands its records over when it sets metadata; when it gets some, the
// display stack's library fills them, from what the video core and the display wrote.
#pragma once

#include <lx2/LXDColorMetaData.h>

#include <cstddef>
#include <cstdint>

namespace lx2 {

constexpr const char* kDisplayMetadataLibrary = "libLxdMetaData.so";
constexpr const char* kGetMetadataFunction = "getMetaDataAndUnmap";
constexpr const char* kSetMetadataFunction = "setMetaDataAndUnmap";

// Kinds of metadata, in the library's numbering, and the record that is read or written.
enum class DisplayMetadataType : int {
    AvTimestamp = 1,    // uint64_t
    Color = 2,          // lxd::ColorMetaData
    Interlace = 4,      // a word
    Statistics = 64,    // StatisticsRecord
    RefreshRate = 256,  // a word
    Kva = 0x10000,      // KvaRecord
};

// A call of the library: 0 on success. data is the record; handle is an imported buffer handle.
using DisplayMetadataFunction = int (*)(void* handle, int type, void* data);

// Statistics of the compressed layout.
struct StatisticsRecord {
    static constexpr size_t kTileSizes = 7;  // 32, 64, 96, 128, 160, 192, 256

    uint32_t header;
    uint8_t valid;
    uint8_t reserved0[3];
    uint32_t tiles[kTileSizes];
    uint8_t reserved1[156];
};
static_assert(offsetof(StatisticsRecord, valid) == 4);
static_assert(offsetof(StatisticsRecord, tiles) == 8);
static_assert(offsetof(StatisticsRecord, reserved1) == 36);
static_assert(sizeof(StatisticsRecord) == 192);

// Metadata of the vision processor.
struct KvaRecord {
    static constexpr size_t kMaxPayload = 1024;
    static constexpr size_t kFurther = 32;

    uint32_t payloadSize;  // bytes
    uint8_t payload[kMaxPayload];
    uint32_t captureRate;
    uint32_t kvaRate;
    uint32_t flags;
    uint8_t further[kFurther];
};
static_assert(offsetof(KvaRecord, payload) == 4);
static_assert(offsetof(KvaRecord, captureRate) == 1028);
static_assert(offsetof(KvaRecord, kvaRate) == 1032);
static_assert(offsetof(KvaRecord, flags) == 1036);
static_assert(offsetof(KvaRecord, further) == 1040);
static_assert(sizeof(KvaRecord) == 1072);

}  // namespace lx2
