#include <base/LogModules.h>
#include <lx2/IVFHeaders.h>
#include <lx2/Memory.h>

namespace lx2 {

constexpr LogModule kLog = kStreamLog;

static_assert(sizeof(IVFStreamHeader) == 32);
static_assert(offsetof(IVFStreamHeader, signature) == 0);
static_assert(offsetof(IVFStreamHeader, version) == 4);
static_assert(offsetof(IVFStreamHeader, headerSize) == 6);
static_assert(offsetof(IVFStreamHeader, fourcc) == 8);
static_assert(offsetof(IVFStreamHeader, width) == 12);
static_assert(offsetof(IVFStreamHeader, height) == 14);
static_assert(offsetof(IVFStreamHeader, rate) == 16);
static_assert(offsetof(IVFStreamHeader, scale) == 20);
static_assert(offsetof(IVFStreamHeader, frameCount) == 24);
static_assert(offsetof(IVFStreamHeader, unused) == 28);

static_assert(sizeof(IVFFrameHeader) == 12);
static_assert(offsetof(IVFFrameHeader, frameSize) == 0);
static_assert(offsetof(IVFFrameHeader, timestamp) == 4);

namespace {

template <class Record>
size_t Serialise(const char* name, const Record& record, std::unique_ptr<uint8_t[]>* out) {
    if (out == nullptr) {
        LX2_LOGE("%s::toBytes: invalid buf handle", name);
        return 0;
    }
    *out = std::make_unique<uint8_t[]>(sizeof(Record));
    memcpy_s(out->get(), sizeof(Record), &record, sizeof(Record));
    return sizeof(Record);
}

// A record with its defaults, if there are bytes enough to read one from.
template <class Record>
std::unique_ptr<Record> MakeFor(const char* name, size_t size, const uint8_t* bytes) {
    if (size < sizeof(Record) || bytes == nullptr) {
        LX2_LOGE("%s::FromBytes: invalid buf(%p) sz=%zu v/s %zu", name,
                 static_cast<const void*>(bytes), size, sizeof(Record));
        return nullptr;
    }
    return std::make_unique<Record>();
}

}  // namespace

size_t IVFStreamHeader::toBytes(std::unique_ptr<uint8_t[]>* out) const {
    return Serialise("IVFStreamHeader", *this, out);
}

std::unique_ptr<IVFStreamHeader> IVFStreamHeader::FromBytes(size_t size, const uint8_t* bytes) {
    auto header = MakeFor<IVFStreamHeader>("IVFStreamHeader", size, bytes);
    if (header == nullptr)
        return nullptr;
    // Only what describes the stream is taken over; whether the file is one of ours is not asked.
    constexpr size_t kFirst = offsetof(IVFStreamHeader, fourcc);
    constexpr size_t kCount = offsetof(IVFStreamHeader, unused) - kFirst;
    memcpy_s(reinterpret_cast<uint8_t*>(header.get()) + kFirst, kCount, bytes + kFirst, kCount);
    return header;
}

size_t IVFFrameHeader::toBytes(std::unique_ptr<uint8_t[]>* out) const {
    return Serialise("IVFFrameHeader", *this, out);
}

std::unique_ptr<IVFFrameHeader> IVFFrameHeader::FromBytes(size_t size, const uint8_t* bytes) {
    auto header = MakeFor<IVFFrameHeader>("IVFFrameHeader", size, bytes);
    if (header == nullptr)
        return nullptr;
    memcpy_s(&header->frameSize, sizeof(header->frameSize), bytes, sizeof(header->frameSize));
    // Readers know timestamps of 32 bits; the upper half of the field is left out on purpose.
    uint32_t timestamp = 0;
    memcpy_s(&timestamp, sizeof(timestamp), bytes + offsetof(IVFFrameHeader, timestamp),
             sizeof(timestamp));
    header->timestamp = timestamp;
    return header;
}

}  // namespace lx2
