// What a device hands over and is handed, as bytes that are written out here and nowhere else: a
// mistake in a record that both sides share would not show otherwise. The blit library's records
// are in the color engine's tests, the statistics and the vision processor's in the metadata's.
#include <C2AllocatorGralloc.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2host/DmaBuf.h>

#include <cstring>

#include "Fixture.h"

namespace lx2::test {
namespace {

using DeviceRecordsTest = Fixture;

TEST_F(DeviceRecordsTest, PrivateHandleIsReadFromItsOffsets) {
    const int pixels = host::AllocateDmaBuf(4096), metadata = host::AllocateDmaBuf(16384);
    const int32_t words[20] = {12,         2,    15, pixels, metadata, 0x4C583247,
                               0x08000024, 28,   32, 36,     40,
                               0x22,              // at 44, the allocator's format
                               -1,         -1,    //
                               56,         0x3C,  // at 56, the id
                               -1,         -1,    //
                               4096,       76};   // at 72, the size, and the offset
    native_handle_t* plain = native_handle_create(2, 15);
    memcpy(plain, words, sizeof(words));
    C2Handle* wrapped = android::WrapNativeCodec2GrallocHandle(plain, 36, 40, 0x22, 0, 28);
    {
        LX2GrallocBuffer buffer(wrapped);
        EXPECT_TRUE(host::IsDmaBuf(buffer.fd()));
        EXPECT_EQ(buffer.flags(), 0x08000024u);
        EXPECT_EQ(buffer.stride(), 28u);
        EXPECT_EQ(buffer.sliceHeight(), 32u);
        EXPECT_EQ(buffer.width(), 36u);
        EXPECT_EQ(buffer.height(), 40u);
        EXPECT_EQ(buffer.format(), 0x7FA30C06u);
        EXPECT_EQ(buffer.id(), 0x3C00000038u);
        EXPECT_EQ(buffer.allocSize(), 4096u);
        EXPECT_EQ(buffer.offset(), 76u);
    }
    native_handle_close(wrapped);
    native_handle_delete(wrapped);
    native_handle_close(plain);
    native_handle_delete(plain);
}

TEST_F(DeviceRecordsTest, ColorRecordIsWrittenAtItsOffsets) {
    C2StreamColorAspectsInfo::output aspects;
    aspects.primaries = C2Color::PRIMARIES_BT2020;
    aspects.range = C2Color::RANGE_FULL;
    aspects.transfer = C2Color::TRANSFER_ST2084;
    aspects.matrix = C2Color::MATRIX_BT2020_CONSTANT;
    C2StreamHdrStaticMetadataInfo::output hdr;
    const float floats[12] = {0.1f, 0.2f, 0.3f, 0.4f,  0.5f, 0.6f,
                              0.7f, 0.8f, 1000, 0.05f, 900,  400};
    memcpy(reinterpret_cast<uint8_t*>(&hdr) + 8, floats, sizeof(floats));
    lxd::ColorMetaData record{};
    EXPECT_EQ(LX2GrallocMetadataTranslater::convertAspectsToMetaData(aspects, &record), C2_OK);
    EXPECT_EQ(LX2GrallocMetadataTranslater::convertHsiToMetaData(hdr, &record), C2_OK);
    record.dynamicMetaDataLength = 1776;
    record.dynamicMetaData[0] = 0x80;
    record.dynamicMetaData[1023] = 0xFF;

    uint32_t words[2804 / 4] = {9,    1,     16,    10,    1,                           // to 16
                                5000, 10000, 15000, 20000, 25000, 30000, 35000, 40000,  // from 20
                                1000, 500,   1,     900,   400};                        // from 52
    words[1776 / 4] = 1776;
    words[1780 / 4] = 0x80;
    words[2800 / 4] = 0xFF000000;
    ASSERT_EQ(sizeof(record), sizeof(words));
    EXPECT_EQ(memcmp(&record, words, sizeof(words)), 0);
}

}  // namespace
}  // namespace lx2::test
