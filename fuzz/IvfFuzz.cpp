// IVF headers from bytes and back.
#include <lx2/IVFHeaders.h>

#include <cstring>

#include "Support.h"

namespace lx2::fuzz {
namespace {

// The bytes that the record is read from come back where they are read at all.
template <typename Header>
void ReadAndWriteBack(const uint8_t* data, size_t size, size_t from, size_t to) {
    ExactBytes bytes(data, size);
    const auto header = Header::FromBytes(size, bytes.data());
    FUZZ_CHECK((header != nullptr) == (size >= sizeof(Header)));
    if (header == nullptr)
        return;
    std::unique_ptr<uint8_t[]> written;
    FUZZ_CHECK(header->toBytes(&written) == sizeof(Header));
    FUZZ_CHECK(memcmp(written.get() + from, data + from, to - from) == 0);
    const Header defaults;
    const auto* rest = reinterpret_cast<const uint8_t*>(&defaults);
    FUZZ_CHECK(memcmp(written.get(), rest, from) == 0);
    FUZZ_CHECK(memcmp(written.get() + to, rest + to, sizeof(Header) - to) == 0);
}

// Any record is written as it lies in memory.
template <typename Header>
void WriteAny(const uint8_t* data, size_t size) {
    Header header;
    if (size < sizeof(header))
        return;
    memcpy(static_cast<void*>(&header), data, sizeof(header));
    std::unique_ptr<uint8_t[]> written;
    FUZZ_CHECK(header.toBytes(&written) == sizeof(header));
    FUZZ_CHECK(memcmp(written.get(), data, sizeof(header)) == 0);
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2;
    fuzz::ReadAndWriteBack<IVFStreamHeader>(data, size, offsetof(IVFStreamHeader, fourcc),
                                            offsetof(IVFStreamHeader, unused));
    fuzz::ReadAndWriteBack<IVFFrameHeader>(data, size, 0, offsetof(IVFFrameHeader, timestamp) + 4);
    fuzz::WriteAny<IVFStreamHeader>(data, size);
    fuzz::WriteAny<IVFFrameHeader>(data, size);
    return 0;
}
