#include <lx2/LX2GrallocBuffer.h>

#include <array>
#include <cstring>
#include <limits>
#include <map>

#include "Fixture.h"

namespace lx2::test {
namespace {

using Translater = LX2GrallocMetadataTranslater;
using AspectsOut = C2StreamColorAspectsInfo::output;
using AspectsIn = C2StreamColorAspectsInfo::input;
using HsiOut = C2StreamHdrStaticMetadataInfo::output;
using HsiIn = C2StreamHdrStaticMetadataInfo::input;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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

lxd::ColorMetaData Filled(uint8_t byte) {
    lxd::ColorMetaData record;
    memset(&record, byte, sizeof(record));
    return record;
}

uint32_t WordAt(const lxd::ColorMetaData& record, size_t offset) {
    uint32_t word;
    memcpy(&word, reinterpret_cast<const uint8_t*>(&record) + offset, sizeof(word));
    return word;
}

class ColorMetadataTest : public Fixture {
  protected:
    // Primaries, range, transfer, matrix, in the order of the record.
    Numbers displayOf(const AspectsOut& aspects) {
        lxd::ColorMetaData record = Filled(0xA5);
        EXPECT_EQ(Translater::convertAspectsToMetaData(aspects, &record), C2_OK);
        const Numbers words{WordAt(record, 0), WordAt(record, 4), WordAt(record, 8),
                            WordAt(record, 12)};
        for (size_t i = 16; i < sizeof(record); ++i)
            EXPECT_EQ(reinterpret_cast<const uint8_t*>(&record)[i], 0xA5) << "offset " << i;
        return words;
    }
    Numbers aspectsOf(const Numbers& display) {
        lxd::ColorMetaData record{};
        memcpy(&record, display.data(), sizeof(display));
        AspectsIn aspects;
        EXPECT_EQ(Translater::convertMetaDataToAspects(record, &aspects), C2_OK);
        return NumbersOf(aspects);
    }
};

TEST_F(ColorMetadataTest, AspectsBecomeTheDisplaysValues) {
    const std::map<uint32_t, uint32_t> primaries = {{0, 2},  {1, 1},  {2, 4},    {3, 5},
                                                    {4, 6},  {5, 8},  {6, 9},    {7, 11},
                                                    {8, 12}, {9, 22}, {255, 255}};
    for (const auto& [c2, display] : primaries) {
        const uint32_t matrix601 = c2 == 3 ? 5 : 6;
        const uint32_t transfer170m = c2 == 6 ? 14 : c2 == 1 ? 1 : 6;
        EXPECT_EQ(displayOf(Aspects(0, c2, 3, 3)), (Numbers{display, 0, transfer170m, matrix601}))
            << "primaries " << c2;
    }
    const std::map<uint32_t, uint32_t> matrices = {{0, 2}, {1, 1},  {2, 4},    {4, 7},
                                                   {5, 9}, {6, 10}, {255, 255}};
    for (const auto& [c2, display] : matrices)
        EXPECT_EQ(displayOf(Aspects(0, 0, 0, c2))[3], display) << "matrix " << c2;
    const std::map<uint32_t, uint32_t> transfers = {{0, 2},   {1, 8},   {2, 13},  {4, 4},
                                                    {5, 5},   {6, 16},  {7, 18},  {64, 7},
                                                    {65, 11}, {66, 12}, {67, 17}, {255, 255}};
    for (const auto& [c2, display] : transfers)
        EXPECT_EQ(displayOf(Aspects(0, 0, c2, 0))[2], display) << "transfer " << c2;
    const std::map<uint32_t, uint32_t> ranges = {{0, 0}, {1, 1}, {2, 0}, {255, 255}};
    for (const auto& [c2, display] : ranges)
        EXPECT_EQ(displayOf(Aspects(c2, 0, 0, 0))[1], display) << "range " << c2;
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ColorMetadataTest, UnknownAspectsAreLoggedAndBecomeUnspecified) {
    EXPECT_EQ(displayOf(Aspects(3, 200, 8, 7)), (Numbers{2, 255, 2, 2}));
    EXPECT_THAT(log.take(),
                ElementsAre(Warning(kTag, "Primaries does not exists for 200 in C2 <-> Disp map"),
                            Warning(kTag, "matrix does not exists for 7 in C2 <-> Disp map"),
                            Warning(kTag, "transfer does not exists for 8 in C2 <-> Disp map"),
                            Warning(kTag, "range does not exists for 3 in C2 <-> Disp map")));
}

TEST_F(ColorMetadataTest, DisplayValuesReadBack) {
    const std::map<uint32_t, uint32_t> primaries = {{1, 1}, {4, 2},  {5, 3},  {6, 4},  {8, 5},
                                                    {9, 6}, {11, 7}, {12, 8}, {22, 9}, {255, 255}};
    const std::map<uint32_t, uint32_t> matrices = {{1, 1}, {4, 2},  {5, 3},    {7, 4},
                                                   {9, 5}, {10, 6}, {255, 255}};
    const std::map<uint32_t, uint32_t> transfers = {{4, 4},  {5, 5},   {6, 3},   {7, 64},
                                                    {8, 1},  {11, 65}, {12, 66}, {13, 2},
                                                    {16, 6}, {17, 67}, {18, 7},  {255, 255}};
    const std::map<uint32_t, uint32_t> ranges = {{1, 1}, {255, 255}};
    const auto expected = [](const std::map<uint32_t, uint32_t>& table, uint32_t value) {
        const auto row = table.find(value);
        return row == table.end() ? 0 : row->second;
    };
    for (uint32_t value = 0; value <= 256; ++value) {
        EXPECT_EQ(aspectsOf({value, value, value, value}),
                  (Numbers{expected(ranges, value), expected(primaries, value),
                           expected(transfers, value), expected(matrices, value)}))
            << value;
    }
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ColorMetadataTest, HdrInfoBecomesFixedPointAtItsOffsets) {
    HsiOut hsi;
    hsi.mastering.red = {0.68f, 0.32f};
    hsi.mastering.green = {0.265f, 0.69f};
    hsi.mastering.blue = {0.15f, 0.06f};
    hsi.mastering.white = {0.3127f, 0.329f};
    hsi.mastering.maxLuminance = 1000.4f;
    hsi.mastering.minLuminance = 0.05f;
    hsi.maxCll = 999.5f;
    hsi.maxFall = 400;
    lxd::ColorMetaData record = Filled(0xA5);
    EXPECT_EQ(Translater::convertHsiToMetaData(hsi, &record), C2_OK);
    const std::map<size_t, uint32_t> words = {
        {20, 34000}, {24, 16000}, {28, 13250}, {32, 34500}, {36, 7500}, {40, 3000},
        {44, 15635}, {48, 16450}, {52, 1000},  {56, 500},   {64, 1000}, {68, 400},
    };
    const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
    for (size_t offset = 0; offset < sizeof(record);) {
        if (const auto word = words.find(offset); word != words.end()) {
            EXPECT_EQ(WordAt(record, offset), word->second) << "offset " << offset;
            offset += 4;
        } else {
            EXPECT_EQ(bytes[offset], offset == 16 || offset == 60 ? 1 : 0xA5) << offset;
            ++offset;
        }
    }
}

TEST_F(ColorMetadataTest, HdrValuesThatDontFitStopAtTheEnds) {
    HsiOut hsi;
    hsi.mastering.red = {-1, std::numeric_limits<float>::quiet_NaN()};
    hsi.mastering.green = {std::numeric_limits<float>::infinity(), 100000};
    hsi.mastering.maxLuminance = 4294967040.0f;  // the last float that fits
    hsi.mastering.minLuminance = -std::numeric_limits<float>::infinity();
    lxd::ColorMetaData record{};
    EXPECT_EQ(Translater::convertHsiToMetaData(hsi, &record), C2_OK);
    EXPECT_EQ(record.masteringDisplay.red.x, 0u);
    EXPECT_EQ(record.masteringDisplay.red.y, 0u);
    EXPECT_EQ(record.masteringDisplay.green.x, 0xFFFFFFFFu);
    EXPECT_EQ(record.masteringDisplay.green.y, 0xFFFFFFFFu);
    EXPECT_EQ(record.masteringDisplay.maxLuminance, 4294967040u);
    EXPECT_EQ(record.masteringDisplay.minLuminance, 0u);
}

TEST_F(ColorMetadataTest, FixedPointReadsBackHalfAUnitLower) {
    lxd::ColorMetaData record{};
    const uint32_t display[] = {34000, 16000, 13250, 34500, 7500, 3000, 15635, 16450, 1000, 500};
    memcpy(&record.masteringDisplay.red, display, sizeof(display));
    record.contentLightLevel.maxContent = 1000;
    // Neither present flag is set: they don't count here.
    HsiIn hsi;
    EXPECT_EQ(Translater::convertMetaDataToHsi(record, &hsi), C2_OK);
    const double expected[] = {0.67999, 0.31999, 0.26499, 0.68999, 0.14999, 0.05999,
                               0.31269, 0.32899, 999.5,   0.04995, 999.5,   -0.5};
    float values[12];
    memcpy(values, reinterpret_cast<const uint8_t*>(&hsi) + 8, sizeof(values));
    for (size_t i = 0; i < 12; ++i)
        EXPECT_EQ(values[i], static_cast<float>(expected[i])) << i;
}

TEST_F(ColorMetadataTest, ConversionsWantAnOutput) {
    const lxd::ColorMetaData record{};
    EXPECT_EQ(Translater::convertAspectsToMetaData(AspectsOut(), nullptr), LX2_BAD_ARG);
    EXPECT_EQ(Translater::convertMetaDataToAspects(record, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(Translater::convertHsiToMetaData(HsiOut(), nullptr), LX2_BAD_ARG);
    EXPECT_EQ(Translater::convertMetaDataToHsi(record, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(LX2ColorAspects::preferredColorAspects("", {}, {}, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(LX2ColorHsi::preferredHsi("", {}, {}, nullptr, true), LX2_BAD_ARG);
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

TEST_F(ColorMetadataTest, DisplayValuesHaveNames) {
    EXPECT_EQ((NamedValues<lxd::ColorPrimaries, Translater>()), "1 4 5 6 7 8 9 10 11 12 22 255 ");
    EXPECT_EQ((NamedValues<lxd::MatrixCoEfficients, Translater>()),
              "0 1 4 5 6 7 8 9 10 11 12 13 255 ");
    EXPECT_EQ((NamedValues<lxd::GammaTransfer, Translater>()),
              "1 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 255 ");
    EXPECT_EQ((NamedValues<lxd::ColorRange, Translater>()), "0 1 255 ");
    lxd::ColorMetaData record{};
    std::string text;
    EXPECT_EQ(&Translater::AsString(record, &text), &text);
    EXPECT_EQ(text, "{? MatrixCoEff_Identity ? Range_Limited}");
    record.colorPrimaries = lxd::ColorPrimaries(22);
    record.matrixCoefficients = lxd::MatrixCoEfficients(4);
    record.transfer = lxd::GammaTransfer(17);
    record.range = lxd::ColorRange(255);
    EXPECT_EQ(Translater::AsString(record, &text),
              "{ColorPrimaries_EBU3213 MatrixCoeff_FCC_73_682 Transfer_ST_428 Range_Max}");
}

TEST_F(ColorMetadataTest, AspectsHaveNames) {
    EXPECT_EQ((NamedValues<C2Color::primaries_t, LX2ColorAspects>()), "0 1 2 3 4 5 6 7 8 255 ");
    EXPECT_EQ((NamedValues<C2Color::matrix_t, LX2ColorAspects>()), "0 1 2 3 4 5 6 255 ");
    EXPECT_EQ((NamedValues<C2Color::transfer_t, LX2ColorAspects>()),
              "0 1 2 3 4 5 6 7 64 65 66 67 255 ");
    EXPECT_EQ((NamedValues<C2Color::range_t, LX2ColorAspects>()), "0 1 2 255 ");
    AspectsIn aspects;
    aspects.transfer = C2Color::transfer_t(8);
    aspects.range = C2Color::RANGE_FULL;
    std::string text;
    EXPECT_EQ(&LX2ColorAspects::AsString(aspects, &text), &text);
    EXPECT_EQ(text, "{PRIMARIES_UNSPECIFIED MATRIX_UNSPECIFIED ? RANGE_FULL}");
    LX2ColorAspects::AsString(Aspects(2, 8, 64, 2), &text);
    EXPECT_EQ(text, "{PRIMARIES_EBU3213 MATRIX_FCC47_73_682 TRANSFER_240M RANGE_LIMITED}");
}

TEST_F(ColorMetadataTest, TheStreamsAspectsComeFirstUnlessItIsVp8OrVp9) {
    struct Row {
        const char* mime;
        Numbers coded, defaults, result;
    };
    const Row rows[] = {
        {"video/avc", {0, 1, 0, 1}, {2, 6, 3, 5}, {2, 1, 3, 1}},
        {"video/x-vnd.on2.vp9", {0, 1, 0, 1}, {2, 6, 3, 5}, {2, 6, 3, 5}},
        {"video/x-vnd.on2.vp8", {1, 1, 1, 1}, {0, 0, 0, 0}, {1, 1, 1, 1}},
        {"video/x-vnd.on2.vp9", {1, 1, 1, 1}, {0, 255, 2, 0}, {1, 255, 2, 1}},
        {"video/hevc", {255, 255, 255, 255}, {1, 1, 1, 1}, {255, 255, 255, 255}},
        {"video/x-vnd.on2.vp90", {1, 1, 1, 1}, {2, 2, 2, 2}, {1, 1, 1, 1}},
        {"Video/x-vnd.on2.vp9", {1, 1, 1, 1}, {2, 2, 2, 2}, {1, 1, 1, 1}},
        {"", {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}},
    };
    for (const Row& row : rows) {
        const auto make = [](const Numbers& n) { return Aspects(n[0], n[1], n[2], n[3]); };
        C2StreamColorAspectsTuning::output defaults;
        static_cast<C2ColorAspectsStruct&>(defaults) = make(row.defaults);
        AspectsOut out(3u);
        out.matrix = C2Color::MATRIX_240M;
        EXPECT_EQ(LX2ColorAspects::preferredColorAspects(row.mime, make(row.coded), defaults, &out),
                  C2_OK);
        EXPECT_EQ(NumbersOf(out), row.result) << row.mime;
        EXPECT_EQ(uint32_t(out.index()), 0xD2601809u) << "the header stays the caller's";
    }
}

TEST_F(ColorMetadataTest, HdrInfoIsTakenAsAWhole) {
    struct Row {
        const char* mime;
        bool available;
        float codedRedX, defaultRedX;
        bool coded;
    };
    const Row rows[] = {
        {"video/hevc", true, 0.7f, 0.68f, true},
        {"video/hevc", true, 0.0f, 0.68f, false},
        {"video/hevc", true, 0.0f, 0.0f, true},
        {"video/hevc", false, 0.7f, 0.68f, false},
        {"video/hevc", false, 0.7f, 0.0f, false},
        {"video/x-vnd.on2.vp9", true, 0.7f, 0.0f, false},
        {"video/x-vnd.on2.vp8", true, 0.7f, 0.68f, false},
    };
    for (const Row& row : rows) {
        HsiOut coded(1u), defaults(2u), out;
        coded.mastering.red.x = row.codedRedX;
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
    LX2ColorHsi::AsString(hsi, &text);
    EXPECT_EQ(text.size(), 255u);
}

}  // namespace
}  // namespace lx2::test
