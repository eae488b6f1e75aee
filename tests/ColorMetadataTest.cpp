#include <lx2/LX2GrallocBuffer.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <map>

#include "Fixture.h"

namespace lx2::test {

using Translater = LX2GrallocMetadataTranslater;
using AspectsOut = C2StreamColorAspectsInfo::output;
using AspectsIn = C2StreamColorAspectsInfo::input;
using HsiOut = C2StreamHdrStaticMetadataInfo::output;
using HsiIn = C2StreamHdrStaticMetadataInfo::input;

constexpr const char* kTag = "LX2GrallocUtils";

AspectsOut Aspects(uint32_t range, uint32_t primaries, uint32_t transfer, uint32_t matrix) {
    AspectsOut aspects;
    aspects.range = C2Color::range_t(range);
    aspects.primaries = C2Color::primaries_t(primaries);
    aspects.transfer = C2Color::transfer_t(transfer);
    aspects.matrix = C2Color::matrix_t(matrix);
    return aspects;
}

// Range, primaries, transfer, matrix as numbers.
using Numbers = std::array<uint32_t, 4>;
Numbers NumbersOf(const C2ColorAspectsStruct& aspects) {
    return {aspects.range, aspects.primaries, aspects.transfer, aspects.matrix};
}

// A record whose bytes show where it was written.
lxd::ColorMetaData Filled() {
    lxd::ColorMetaData record;
    memset(&record, 0xA5, sizeof(record));
    return record;
}

using ColorMetadataTest = Fixture;

// The display's value of each C2 value. The 3 of matrix and transfer (BT.601, 170M) depend on the
// primaries; this is what they are with the primaries 3.
using Table = std::map<uint32_t, uint32_t>;
const Table kPrimaries = {{0, 2}, {1, 1},  {2, 4},  {3, 5},  {4, 6},    {5, 8},
                          {6, 9}, {7, 11}, {8, 12}, {9, 22}, {255, 255}};
const Table kMatrices = {{0, 2}, {1, 1}, {2, 4}, {3, 5}, {4, 7}, {5, 9}, {6, 10}, {255, 255}};
const Table kTransfers = {{0, 2},  {1, 8},  {2, 13},  {3, 6},   {4, 4},   {5, 5},    {6, 16},
                          {7, 18}, {64, 7}, {65, 11}, {66, 12}, {67, 17}, {255, 255}};
const Table kRanges = {{0, 0}, {1, 1}, {2, 0}, {255, 255}};

// Primaries, range, transfer, matrix, in the order of the record, of which nothing else is written.
Numbers DisplayOf(const AspectsOut& aspects) {
    lxd::ColorMetaData record = Filled(), expected = record;
    EXPECT_EQ(Translater::convertAspectsToMetaData(aspects, &record), C2_OK);
    Numbers words;
    memcpy(words.data(), &record, sizeof(words));
    memcpy(&expected, &record, sizeof(words));
    EXPECT_EQ(memcmp(&record, &expected, sizeof(record)), 0);
    return words;
}

TEST_F(ColorMetadataTest, AspectsBecomeTheDisplaysValues) {
    for (const auto& [c2, display] : kPrimaries) {
        const uint32_t matrix601 = c2 == 3 ? 5 : 6;
        const uint32_t transfer170m = c2 == 6 ? 14 : c2 == 1 ? 1 : 6;
        EXPECT_EQ(DisplayOf(Aspects(0, c2, 3, 3)), (Numbers{display, 0, transfer170m, matrix601}))
            << "primaries " << c2;
    }
    for (const auto& [c2, display] : kMatrices)
        EXPECT_EQ(DisplayOf(Aspects(0, 3, 0, c2)), (Numbers{5, 0, 2, display})) << "matrix " << c2;
    for (const auto& [c2, display] : kTransfers)
        EXPECT_EQ(DisplayOf(Aspects(0, 3, c2, 0)), (Numbers{5, 0, display, 2}))
            << "transfer " << c2;
    for (const auto& [c2, display] : kRanges)
        EXPECT_EQ(DisplayOf(Aspects(c2, 0, 0, 0)), (Numbers{2, display, 2, 2})) << "range " << c2;
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(DisplayOf(Aspects(3, 200, 8, 7)), (Numbers{2, 255, 2, 2}));
    EXPECT_THAT(log.take(),
                ElementsAre(Warning(kTag, "Primaries does not exists for 200 in C2 <-> Disp map"),
                            Warning(kTag, "matrix does not exists for 7 in C2 <-> Disp map"),
                            Warning(kTag, "transfer does not exists for 8 in C2 <-> Disp map"),
                            Warning(kTag, "range does not exists for 3 in C2 <-> Disp map")));
}

TEST_F(ColorMetadataTest, DisplayValuesReadBackAndTheLimitedRangeAsUnspecified) {
    const auto c2Of = [](const Table& table, uint32_t display) {
        const auto row = std::find_if(table.begin(), table.end(),
                                      [=](const auto& entry) { return entry.second == display; });
        return row == table.end() ? 0 : row->first;
    };
    for (uint32_t value = 0; value <= 256; ++value) {
        const Numbers display{value, value, value, value};
        lxd::ColorMetaData record{};
        memcpy(&record, display.data(), sizeof(display));
        AspectsIn aspects;
        EXPECT_EQ(Translater::convertMetaDataToAspects(record, &aspects), C2_OK);
        EXPECT_EQ(NumbersOf(aspects), (Numbers{c2Of(kRanges, value), c2Of(kPrimaries, value),
                                               c2Of(kTransfers, value), c2Of(kMatrices, value)}))
            << value;
    }
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ColorMetadataTest, HdrInfoBecomesFixedPointHeldToItsFields) {
    HsiOut hsi;
    hsi.mastering.red = {0.68f, -1};
    hsi.mastering.green = {0.265f, 100000};
    hsi.mastering.blue = {std::numeric_limits<float>::quiet_NaN(), 0.06f};
    hsi.mastering.white = {0.3127f, std::numeric_limits<float>::infinity()};
    hsi.mastering.maxLuminance = 4294967040.0f;  // the last float that fits
    hsi.mastering.minLuminance = 0.05f;
    hsi.maxCll = 999.5f;
    hsi.maxFall = 8388609;  // half a unit more is no float
    lxd::ColorMetaData record = Filled(), expected = Filled();
    EXPECT_EQ(Translater::convertHsiToMetaData(hsi, &record), C2_OK);
    const uint32_t words[] = {34000, 0,     13250,      0xFFFFFFFF, 0,
                              3000,  15635, 0xFFFFFFFF, 4294967040, 500};
    const uint32_t levels[] = {1000, 8388609};
    auto* bytes = reinterpret_cast<uint8_t*>(&expected);
    bytes[16] = bytes[60] = 1;
    memcpy(bytes + 20, words, sizeof(words));
    memcpy(bytes + 64, levels, sizeof(levels));
    EXPECT_EQ(memcmp(&record, bytes, sizeof(record)), 0);
}

TEST_F(ColorMetadataTest, FixedPointReadsBackHalfAUnitLower) {
    lxd::ColorMetaData record{};
    const uint32_t display[] = {34000, 16000, 13250, 34500, 7500, 3000, 15635, 16450, ~0u, 500};
    memcpy(&record.masteringDisplay.red, display, sizeof(display));
    record.contentLightLevel.maxFrameAverage = 16777219;  // no float
    // Neither present flag is set: they don't count here.
    HsiIn hsi;
    EXPECT_EQ(Translater::convertMetaDataToHsi(record, &hsi), C2_OK);
    const float expected[] = {0.67999f, 0.31999f, 0.26499f,      0.68999f, 0.14999f, 0.05999f,
                              0.31269f, 0.32899f, 4294967296.0f, 0.04995f, -0.5f,    16777218};
    EXPECT_EQ(memcmp(reinterpret_cast<const uint8_t*>(&hsi) + 8, expected, sizeof(expected)), 0);
}

// The values of an enumeration that have a name.
template <typename Enum, typename Names>
std::string NamedValues() {
    std::string values;
    for (uint32_t value = 0; value <= 256; ++value) {
        if (Names::Str(Enum(value)) != std::string("?"))
            values += std::to_string(value) + " ";
    }
    return values;
}

TEST_F(ColorMetadataTest, ValuesHaveNames) {
    EXPECT_EQ((NamedValues<lxd::ColorPrimaries, Translater>()), "1 4 5 6 7 8 9 10 11 12 22 255 ");
    EXPECT_EQ((NamedValues<lxd::MatrixCoEfficients, Translater>()),
              "0 1 4 5 6 7 8 9 10 11 12 13 255 ");
    EXPECT_EQ((NamedValues<lxd::GammaTransfer, Translater>()),
              "1 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 255 ");
    EXPECT_EQ((NamedValues<lxd::ColorRange, Translater>()), "0 1 255 ");
    EXPECT_EQ((NamedValues<C2Color::primaries_t, LX2ColorAspects>()), "0 1 2 3 4 5 6 7 8 255 ");
    EXPECT_EQ((NamedValues<C2Color::matrix_t, LX2ColorAspects>()), "0 1 2 3 4 5 6 255 ");
    EXPECT_EQ((NamedValues<C2Color::transfer_t, LX2ColorAspects>()),
              "0 1 2 3 4 5 6 7 64 65 66 67 255 ");
    EXPECT_EQ((NamedValues<C2Color::range_t, LX2ColorAspects>()), "0 1 2 255 ");

    lxd::ColorMetaData record{};
    std::string text;
    EXPECT_EQ(&Translater::AsString(record, &text), &text);
    EXPECT_EQ(text, "{? MatrixCoEff_Identity ? Range_Limited}");
    const Numbers display{22, 255, 17, 4};
    memcpy(&record, display.data(), sizeof(display));
    EXPECT_EQ(Translater::AsString(record, &text),
              "{ColorPrimaries_EBU3213 MatrixCoeff_FCC_73_682 Transfer_ST_428 Range_Max}");
    EXPECT_EQ(&LX2ColorAspects::AsString(AspectsIn(), &text), &text);
    EXPECT_EQ(text,
              "{PRIMARIES_UNSPECIFIED MATRIX_UNSPECIFIED TRANSFER_UNSPECIFIED RANGE_UNSPECIFIED}");
    LX2ColorAspects::AsString(Aspects(2, 8, 64, 2), &text);
    EXPECT_EQ(text, "{PRIMARIES_EBU3213 MATRIX_FCC47_73_682 TRANSFER_240M RANGE_LIMITED}");
}

TEST_F(ColorMetadataTest, TheStreamsAspectsComeFirstUnlessItIsVp8OrVp9) {
    const auto make = [](const Numbers& n) { return Aspects(n[0], n[1], n[2], n[3]); };
    const struct {
        const char* mime;
        Numbers coded, defaults, result;
    } rows[] = {
        {"video/avc", {0, 1, 0, 1}, {2, 6, 3, 5}, {2, 1, 3, 1}},
        {"video/x-vnd.on2.vp9", {0, 1, 0, 1}, {2, 6, 3, 5}, {2, 6, 3, 5}},
        {"video/x-vnd.on2.vp8", {1, 1, 1, 1}, {0, 0, 0, 0}, {1, 1, 1, 1}},
        {"video/x-vnd.on2.vp9", {1, 1, 1, 1}, {0, 255, 2, 0}, {1, 255, 2, 1}},
        {"video/x-vnd.on2.vp90", {1, 1, 1, 1}, {2, 2, 2, 2}, {1, 1, 1, 1}},
        {"video/x-vnd.on2.VP9", {255, 0, 255, 0}, {1, 0, 1, 0}, {255, 0, 255, 0}},
    };
    for (const auto& row : rows) {
        C2StreamColorAspectsTuning::output defaults;
        static_cast<C2ColorAspectsStruct&>(defaults) = make(row.defaults);
        AspectsOut out(3u);
        out.matrix = C2Color::MATRIX_240M;
        EXPECT_EQ(LX2ColorAspects::preferredColorAspects(row.mime, make(row.coded), defaults, &out),
                  C2_OK);
        EXPECT_EQ(NumbersOf(out), row.result) << row.mime;
        EXPECT_EQ(uint32_t(out.index()), 0xD2301809u) << "the header stays the caller's";
        out = make(row.coded);
        LX2ColorAspects::preferredColorAspects(row.mime, out, defaults, &out);
        EXPECT_EQ(NumbersOf(out), row.defaults) << "the output is cleared before anything is read";
    }
}

TEST_F(ColorMetadataTest, HdrInfoIsTakenAsAWhole) {
    const struct {
        const char* mime;
        bool available;
        float codedRedX, defaultRedX;
        bool coded;
    } rows[] = {
        {"video/hevc", true, 0.7f, 0.68f, true},
        {"video/hevc", true, -0.1f, 0.68f, true},
        {"video/hevc", true, 0.0f, 0.68f, false},
        {"video/hevc", true, 0.0f, 0.0f, true},
        {"video/hevc", false, 0.7f, 0.0f, false},
        {"video/x-vnd.on2.vp9", true, 0.7f, 0.0f, false},
        {"video/x-vnd.on2.vp8", true, 0.7f, 0.68f, false},
    };
    for (const auto& row : rows) {
        HsiOut coded(1u), defaults(2u), out;
        coded.mastering.red.x = row.codedRedX;
        coded.mastering.red.y = coded.mastering.white.x = defaults.mastering.red.y = 0.5f;
        coded.maxCll = 10;
        defaults.mastering.red.x = row.defaultRedX;
        defaults.maxFall = 20;
        EXPECT_EQ(LX2ColorHsi::preferredHsi(row.mime, coded, defaults, &out, row.available), C2_OK);
        EXPECT_TRUE(out == (row.coded ? coded : defaults))
            << row.mime << " " << row.available << " " << row.codedRedX << " " << row.defaultRedX;
    }
}

TEST_F(ColorMetadataTest, HdrInfoIsPrintedInOneLine) {
    HsiOut hsi;
    hsi.mastering.red = {0.68f, 0.32f};
    hsi.mastering.white = {0.3127f, 0.329f};
    hsi.mastering.maxLuminance = 1000;
    hsi.mastering.minLuminance = 0.25f;
    hsi.maxCll = 1;
    hsi.maxFall = 2;
    std::string text;
    EXPECT_EQ(&LX2ColorHsi::AsString(hsi, &text), &text);
    EXPECT_EQ(text,
              "R(0.68000, 0.32000) G(0.00000, 0.00000) B(0.00000, 0.00000) W(0.31270, 0.32900) : "
              "Lum(min=0.250000 max=1000.000000) maxCll=1.000000 maxFall=2.000000");
    const float huge = std::numeric_limits<float>::max();
    hsi.mastering.red = hsi.mastering.green = hsi.mastering.blue = {huge, huge};
    EXPECT_EQ(LX2ColorHsi::AsString(hsi, &text).size(), 255u);
}

}  // namespace lx2::test
