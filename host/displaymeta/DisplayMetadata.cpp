#include <PrivateRecord.h>
#include <lx2device/DisplayMetadataLibrary.h>
#include <lx2host/DisplayMetadata.h>
#include <lx2host/HardwareMemory.h>

#include <cerrno>
#include <cstring>
#include <mutex>

namespace lx2::host {

namespace {

// Where each kind lies in the buffer's metadata memory, which starts out zeroed.
struct Slot {
    DisplayMetadataType type;
    size_t offset;  // of the word that tells whether it was set; the record follows
    size_t size;    // of the record, bytes
};

constexpr Slot kSlots[] = {
    {DisplayMetadataType::AvTimestamp, 0, sizeof(uint64_t)},
    {DisplayMetadataType::Interlace, 64, sizeof(uint32_t)},
    {DisplayMetadataType::RefreshRate, 128, sizeof(uint32_t)},
    {DisplayMetadataType::Statistics, 192, offsetof(StatisticsRecord, reserved1)},
    {DisplayMetadataType::Kva, 1024, sizeof(KvaRecord)},
    {DisplayMetadataType::Color, 4096, sizeof(lxd::ColorMetaData)},
};

constexpr bool SlotsAreApart() {
    size_t end = 0;
    for (const Slot& slot : kSlots) {
        if (slot.offset < end)
            return false;
        end = slot.offset + sizeof(uint32_t) + slot.size;
    }
    return end <= kMetadataSize;
}
static_assert(SlotsAreApart());

const Slot* SlotOf(int type) {
    for (const Slot& slot : kSlots) {
        if (static_cast<int>(slot.type) == type)
            return &slot;
    }
    return nullptr;
}

int Get(uint8_t* memory, const Slot& slot, void* data) {
    uint32_t set;
    memcpy(&set, memory + slot.offset, sizeof(set));
    if (set == 0)
        return -ENODATA;
    memcpy(data, memory + slot.offset + sizeof(set), slot.size);
    return 0;
}

int Set(uint8_t* memory, const Slot& slot, void* data) {
    const uint32_t set = 1;
    memcpy(memory + slot.offset + sizeof(set), data, slot.size);
    memcpy(memory + slot.offset, &set, sizeof(set));
    return 0;
}

int WithRecord(void* handle, int type, void* data, int (*action)(uint8_t*, const Slot&, void*)) {
    const PrivateHandle* record = PrivateRecordOf(static_cast<const native_handle_t*>(handle));
    const Slot* slot = SlotOf(type);
    if (record == nullptr || slot == nullptr || data == nullptr)
        return -EINVAL;
    static std::mutex lock;
    std::lock_guard<std::mutex> guard(lock);
    const auto memory = HardwareMemory::Of(record->metadataFd);
    return memory != nullptr && memory->size() >= kMetadataSize
               ? action(memory->data(), *slot, data)
               : -EIO;
}

}  // namespace

}  // namespace lx2::host

int getMetaDataAndUnmap(void* handle, int type, void* data) {
    return lx2::host::WithRecord(handle, type, data, lx2::host::Get);
}

int setMetaDataAndUnmap(void* handle, int type, void* data) {
    return lx2::host::WithRecord(handle, type, data, lx2::host::Set);
}
