#include <C2AllocatorGralloc.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/DisplayMetadata.h>
#include <lx2host/Gralloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "Fixture.h"

namespace lx2::test {
namespace {

using Params = std::vector<std::unique_ptr<C2Param>>;

using DisplayMetadataTest = Fixture;

std::shared_ptr<C2GraphicAllocation> Allocation() {
    return host::AllocateGraphic(64, 64, PixFormat::MIREL_TP10, 0);
}

bool SeesBt2020WithHdr(const C2Handle* handle) {
    LX2GrallocBuffer buffer(handle);
    Params infos, updates;
    if (buffer.getMetadata(&infos, &updates) != C2_OK || updates.size() != 2)
        return false;
    const auto* aspects = C2StreamColorAspectsInfo::input::From(updates[0].get());
    const auto* hsi = C2StreamHdrStaticMetadataInfo::input::From(updates[1].get());
    return aspects != nullptr && aspects->primaries == C2Color::PRIMARIES_BT2020 &&
           hsi != nullptr && hsi->maxCll == 999.5f;
}

TEST_F(DisplayMetadataTest, IsSeenByEveryImportInEveryProcess) {
    const auto allocation = Allocation(), other = Allocation();
    auto aspects = std::make_shared<C2StreamColorAspectsInfo::output>();
    aspects->primaries = C2Color::PRIMARIES_BT2020;
    auto hsi = std::make_shared<C2StreamHdrStaticMetadataInfo::output>();
    hsi->maxCll = 1000;
    EXPECT_FALSE(SeesBt2020WithHdr(allocation->handle()));
    const pid_t writer = fork();
    ASSERT_GE(writer, 0);
    if (writer == 0)
        _exit(LX2GrallocBuffer(allocation->handle()).setMetadata({aspects, hsi}));
    int status = -1;
    waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(SeesBt2020WithHdr(allocation->handle()));
    EXPECT_FALSE(SeesBt2020WithHdr(other->handle()));
}

TEST_F(DisplayMetadataTest, KeepsEachKindApartAndNothingElse) {
    const std::pair<int, size_t> kinds[] = {{1, 8},   {2, 2804}, {4, 4},
                                            {64, 36}, {256, 4},  {0x10000, 1072}};
    const auto allocation = Allocation();
    native_handle_t* handle = android::UnwrapNativeCodec2GrallocHandle(allocation->handle());
    std::vector<uint8_t> data(4096);
    for (const auto& [type, size] : kinds) {
        EXPECT_EQ(getMetaDataAndUnmap(handle, type, data.data()), -ENODATA) << type;
        std::vector<uint8_t> value(size, static_cast<uint8_t>(size + 1));
        EXPECT_EQ(setMetaDataAndUnmap(handle, type, value.data()), 0) << type;
    }
    for (const auto& [type, size] : kinds) {
        data.assign(4096, 0);
        EXPECT_EQ(getMetaDataAndUnmap(handle, type, data.data()), 0) << type;
        std::vector<uint8_t> expected(size, static_cast<uint8_t>(size + 1));
        expected.resize(4096);
        EXPECT_EQ(data, expected) << type;
    }
    EXPECT_EQ(setMetaDataAndUnmap(handle, 3, data.data()), -EINVAL);
    EXPECT_EQ(getMetaDataAndUnmap(handle, 2, nullptr), -EINVAL);
    EXPECT_EQ(getMetaDataAndUnmap(nullptr, 2, data.data()), -EINVAL);
    handle->numInts--;  // a handle of another allocator
    EXPECT_EQ(getMetaDataAndUnmap(handle, 2, data.data()), -EINVAL);
    native_handle_delete(handle);
}

}  // namespace
}  // namespace lx2::test
