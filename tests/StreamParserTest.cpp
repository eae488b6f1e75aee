#include <lx2/LX2StreamParser.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <tuple>

#include "Fixture.h"
#include "StartCodeScan.h"

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Bytes = std::vector<uint8_t>;

constexpr char kTag[] = "LX2StreamParser";
constexpr uint32_t kDebug = 1, kTrace = 2;

// A unit of total bytes with the given header word; its payload holds no zero.
Bytes Unit(uint16_t word, size_t total) {
    Bytes unit(total, 0x55);
    const uint8_t head[] = {0, 0, 0, 1, uint8_t(word >> 8), uint8_t(word)};
    std::copy_n(head, std::min(total, sizeof(head)), unit.begin());
    return unit;
}

Bytes Join(std::initializer_list<Bytes> units) {
    Bytes all;
    for (const Bytes& unit : units)
        all.insert(all.end(), unit.begin(), unit.end());
    return all;
}

// The storage that FindHeaders asks for, with nothing behind it that the address checker lets pass.
std::unique_ptr<uint8_t[]> Stored(const Bytes& bytes) {
    const size_t size = bytes.size();
    auto storage = std::make_unique<uint8_t[]>(std::max(size + 1, size < 9 ? 0 : 2 * size - 8));
    std::copy(bytes.begin(), bytes.end(), storage.get());
    return storage;
}

// A status, the unit's size, its type and the next one's.
using Found = std::tuple<LX2Status, uint32_t, uint16_t, uint16_t>;

template <class Parser>
Found FindNAL(const Bytes& bytes) {
    const auto storage = Stored(bytes);
    uint32_t size = 77;
    uint16_t type = 7777, next = 7777;
    const LX2Status status = Parser::FindNAL(storage.get(), bytes.size(), &size, &type, &next);
    return {status, size, type, next};
}

using Walk = std::pair<LX2Status, uint32_t>;

template <class Parser>
Walk FindHeaders(const Bytes& bytes) {
    const auto storage = Stored(bytes);
    uint32_t size = 77;
    const LX2Status status = Parser::FindHeaders(storage.get(), bytes.size(), &size);
    return {status, size};
}

using Avc = LX2AVCStreamParser;
using Hevc = LX2HEVCStreamParser;

// Every answer of the fast scan against the plain one, from every start within a block and to every
// end, each in an allocation that ends with the last byte the plain scan may read.
void ExpectSameScan(const Bytes& bytes) {
    for (size_t length = 8; length <= bytes.size(); ++length) {
        const std::unique_ptr<uint8_t[]> tight(new uint8_t[length]);
        std::copy_n(bytes.begin(), length, tight.get());
        const size_t end = length - 3;
        for (size_t from = 0; from < std::min<size_t>(17, end); ++from)
            ASSERT_EQ(FindStartCode(tight.get(), from, end),
                      FindStartCodePlain(tight.get(), from, end))
                << "from " << from << " to " << end << " of " << bytes.size();
    }
}

TEST(StartCodeScanTest, FastFormAnswersLikeThePlainOne) {
    std::mt19937 random(7);
    for (unsigned alphabet : {3u, 16u, 256u})
        for (int round = 0; round < 8; ++round) {
            Bytes bytes(290);
            // Zeros and ones in plenty, and one run of zeros at a random place.
            for (uint8_t& byte : bytes)
                byte = random() % 16 == 0 ? 0 : random() % alphabet;
            std::fill_n(bytes.begin() + random() % 240, random() % 50, 0);
            ExpectSameScan(bytes);
        }
    ExpectSameScan(Bytes(290, 0));
}

TEST(StartCodeScanTest, FindsACodeAtEveryPositionAndNoneThatIsCut) {
    for (size_t at = 0; at + 4 <= 160; ++at)
        for (uint8_t fill : {0xFF, 0x00}) {
            Bytes bytes(160, fill);
            std::copy_n(kStartCode, 4, bytes.begin() + at);
            EXPECT_EQ(FindStartCode(bytes.data(), 0, 157), at);
            EXPECT_EQ(FindStartCode(bytes.data(), 0, at), at) << "only the end, not a find";
            bytes[at + 3] = 2;
            EXPECT_EQ(FindStartCode(bytes.data(), 0, 157), 157u);
        }
}

class StreamParserTest : public Fixture {};

TEST_F(StreamParserTest, MeasuresTheFirstUnit) {
    struct Row {
        const char* what;
        Bytes bytes;
        Found found;
    };
    const Row rows[] = {
        {"one unit runs to the end", Unit(0x6742, 40), {C2_OK, 40, 7, 0xFFFF}},
        {"next code with one byte behind it",
         Join({Unit(0x6742, 40), Unit(0x6500, 5)}),
         {C2_OK, 40, 7, 5}},
        {"next code with nothing behind it",
         Join({Unit(0x6742, 40), Unit(0, 4)}),
         {C2_OK, 44, 7, 0xFFFF}},
        {"three-byte codes do not split",
         Join({Unit(0x6742, 9), {0, 0, 1, 0x68, 0xCE, 0x38}}),
         {C2_OK, 15, 7, 0xFFFF}},
        {"code at 5", Join({Unit(0x6742, 5), Unit(0x68CE, 8)}), {C2_OK, 5, 7, 8}},
        {"code at 4 is inside the header",
         Join({Unit(0, 4), Unit(0x68CE, 8)}),
         {C2_OK, 12, 0, 0xFFFF}},
        {"six bytes", Unit(0x0930, 6), {C2_OK, 6, 9, 0xFFFF}},
        {"five bytes", Unit(0x6742, 5), {LX2_BAD_ARG, 77, 7777, 7777}},
        {"short start code", {0, 0, 1, 0x67, 0x42, 0, 0}, {C2_CORRUPTED, 0, 7777, 0xFFFF}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(FindNAL<Avc>(row.bytes), row.found) << row.what;
    EXPECT_EQ(FindNAL<Hevc>(Join({Unit(0x4001, 30), Unit(0x4201, 10)})),
              (Found{C2_OK, 30, 32, 33}));
    EXPECT_THROW(
        _FindNAL(Stored(Unit(0x6742, 8)).get(), 8, std::make_unique<uint32_t>().get(),
                 std::make_unique<uint16_t>().get(), std::make_unique<uint16_t>().get(), nullptr),
        std::bad_function_call);
}

TEST_F(StreamParserTest, RefusesNullPointersAndLogsTheReason) {
    const auto unit = Stored(Unit(0x6742, 8));
    uint32_t size = 0;
    uint16_t type = 0, next = 0;
    EXPECT_EQ(Avc::FindNAL(nullptr, 8, &size, &type, &next), LX2_BAD_ARG);
    EXPECT_EQ(Avc::FindNAL(unit.get(), 8, nullptr, &type, &next), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindNAL(unit.get(), 8, &size, nullptr, &next), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindNAL(unit.get(), 8, &size, &type, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(log.take(), std::vector<LogLine>(4, Error(kTag, "FindNAL: invalid args")));
    EXPECT_EQ(Avc::FindNAL(unit.get() + 1, 7, &size, &type, &next), C2_CORRUPTED);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, "FindNAL: buffer does not start with start-code !")));
    EXPECT_EQ(Avc::FindHeaders(nullptr, 8, &size), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindHeaders(unit.get(), 8, nullptr), LX2_BAD_ARG);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(StreamParserTest, CountsTheHeadersThatABufferBeginsWith) {
    const Bytes sps = Unit(0x6742, 20), pps = Unit(0x68CE, 10), idr = Unit(0x6588, 90);
    const Bytes aud = Unit(0x0930, 6), sei = Unit(0x0605, 12);
    EXPECT_EQ(FindHeaders<Avc>(Join({sps, pps, idr})), Walk(C2_OK, 30u));
    EXPECT_EQ(FindHeaders<Avc>(Join({aud, sps, pps, sei, idr})), Walk(C2_OK, 36u));
    EXPECT_EQ(FindHeaders<Avc>(Join({sps, sei, pps, idr})), Walk(C2_OK, 20u));
    EXPECT_EQ(FindHeaders<Avc>(Join({idr, sei, sps})), Walk(C2_NOT_FOUND, 90u));
    const Bytes vps = Unit(0x4001, 24), hevcSps = Unit(0x4201, 40), hevcPps = Unit(0x4401, 11);
    EXPECT_EQ(FindHeaders<Hevc>(Join({vps, hevcSps, hevcPps, Unit(0x2601, 50)})), Walk(C2_OK, 75u));
    EXPECT_EQ(FindHeaders<Hevc>(Unit(0x2601, 50)), Walk(C2_NOT_FOUND, 50u));

    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(FindHeaders<Avc>({0, 0, 1, 0x67, 0x42, 0}), Walk(C2_NOT_FOUND, 0u));
    EXPECT_EQ(FindHeaders<Avc>(Unit(0x6742, 5)), Walk(C2_NOT_FOUND, 0u));
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, "FindNAL: buffer does not start with start-code !"),
                            Error(kTag, "FindNAL: invalid args")));

    // Rules of a caller's own: wide types are cut to 16 bits before anyone is asked about them.
    const auto isSeven = [](uint32_t type) { return type == 7; };
    const auto wide = [](uint16_t word) { return 0x70000u | Avc::ExtractNalType(word); };
    uint32_t size = 0;
    EXPECT_EQ(_FindHeaders(Stored(sps).get(), 20, &size, isSeven, wide, Avc::NalTypeStr), C2_OK);
    EXPECT_EQ(size, 20u);
}

// The walk's lengths: size - 4k for the k-th unit, wherever that unit begins.
TEST_F(StreamParserTest, GivesEachUnitTheWholeSizeLessFourBytesAUnit) {
    const Bytes sps = Unit(0x6742, 20), pps = Unit(0x68CE, 10);
    EXPECT_EQ(FindHeaders<Avc>(Join({sps, pps})), Walk(C2_OK, 20u + (30u - 4u)));
    EXPECT_EQ(FindHeaders<Avc>(Join({sps, pps, pps})), Walk(C2_OK, 30u + (40u - 8u)));
    // Units of 5 bytes: the lengths of the second and third calls are 15 - 4 and 15 - 8.
    const Bytes tiny = Join({Unit(0x6742, 5), Unit(0x6742, 5), Unit(0x6742, 5)});
    EXPECT_EQ(FindHeaders<Avc>(tiny), Walk(C2_OK, 10u + 7u));

    // Told 37 of 140 bytes, the walk goes on behind the 37. Seven units are cut at the next one,
    // the eighth is given 37 - 4 * 7 bytes, in which no further one is looked for.
    Bytes many;
    for (int i = 0; i < 20; ++i)
        many = Join({many, Unit(0x6742, 7)});
    uint32_t size = 0;
    EXPECT_EQ(Avc::FindHeaders(many.data(), 37, &size), C2_OK);
    EXPECT_EQ(size, 7u * 7u + 9u);

    // The farthest that a walk reads: told 25 bytes, it finds the end of the second unit's 21 at a
    // code whose header word is bytes 40 and 41.
    const Bytes far = Join({sps, Unit(0x68CE, 16), Unit(0x6588, 6)});
    ASSERT_EQ(far.size(), 2u * 25 - 8);
    EXPECT_EQ(Avc::FindHeaders(far.data(), 25, &size), C2_OK);
    EXPECT_EQ(size, 36u);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(StreamParserTest, TouchesNothingBehindTheStartCodeThatEndsTheHeaders) {
    // No byte of storage behind the buffer: the second unit's length reaches beyond it, but the
    // code that ends that unit is found before.
    const Bytes bytes = Join({Unit(0x6742, 90), Unit(0x68CE, 100), Unit(0x6588, 6)});
    const std::unique_ptr<uint8_t[]> tight(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), tight.get());
    uint32_t size = 0;
    EXPECT_EQ(Avc::FindHeaders(tight.get(), bytes.size(), &size), C2_OK);
    EXPECT_EQ(size, 190u);
}

TEST_F(StreamParserTest, LogsWhatTheLevelLetsThrough) {
    const Bytes headers = Join({Unit(0x6742, 20), Unit(0x68CE, 10), Unit(0x6588, 90)});
    const auto nal = [&] { FindNAL<Avc>(headers); };
    const auto walk = [&] { FindHeaders<Avc>(headers); };
    EXPECT_THAT(textsAt(kTrace, nal), ElementsAre("FindNAL", "StartCode found at 20",
                                                  "AVC: Found NAL [SPS][20 bytes][next=PPS]"));
    EXPECT_THAT(textsAt(kTrace, [] { FindNAL<Hevc>(Unit(0x4001, 8)); }),
                ElementsAre("FindNAL", "HEVC: Found NAL [VPS][8 bytes][next=UNKNOWN]"));
    EXPECT_THAT(textsAt(kDebug, nal), IsEmpty());
    EXPECT_THAT(textsAt(kDebug, walk),
                ElementsAre("FindHeaders: found NAL [current=SPS][size=20][next=PPS]",
                            "FindHeaders: found NAL [current=PPS][size=10][next=IDR]",
                            "AVC: found header of size 30 bytes"));
    EXPECT_THAT(textsAt(kDebug, [] { FindHeaders<Hevc>(Unit(0x2601, 50)); }),
                ElementsAre("FindHeaders: found NAL [current=IDR][size=50][next=UNKNOWN]",
                            "No header detected!"));
    EXPECT_THAT(textsAt(kTrace, walk), ElementsAre("FindNAL", "StartCode found at 20", "FindNAL",
                                                   "StartCode found at 10"));
    EXPECT_EQ(textsAt(0x02000003, walk).size(), 7u);
    EXPECT_THAT(textsAt(0x01000003, walk), IsEmpty());

    gC2LogLevel = kDebug;
    FindHeaders<Hevc>(Unit(0x2601, 50));
    EXPECT_EQ(log.take().back(), Debug(kTag, "No header detected!"));
}

TEST_F(StreamParserTest, CutsRealStreamsAsThePlainScanDoes) {
    for (const char* name : {"avc.264", "hevc.265", "vp9.ivf"}) {
        std::ifstream file(std::string(LX2_SAMPLES_DIR "/") + name, std::ios::binary);
        for (size_t shift = 0; shift < 16; ++shift) {
            Bytes stream(shift, 0xFF);
            file.clear();
            file.seekg(0);
            stream.insert(stream.end(), std::istreambuf_iterator<char>(file), {});
            ASSERT_GT(stream.size(), 10000u) << name;
            const size_t end = stream.size() - 3;
            for (size_t p = 0; p < end; ++p) {
                const size_t plain = FindStartCodePlain(stream.data(), p, end);
                ASSERT_EQ(FindStartCode(stream.data(), p, end), plain) << name;
                p = plain;
            }
        }
    }
}

TEST(NalTypeTest, NamesTypes) {
    std::string avc, hevc;
    for (int type = 0; type <= 12; ++type)
        avc += Avc::NalTypeStr(type) + std::string(" ");
    EXPECT_EQ(avc, "UNKOWN NON_IDR SLICE SLICE SLICE IDR SEI SPS PPS AUD EOSEQ UNKOWN UNKOWN ");
    for (int type = 0; type <= 42; ++type)
        hevc += Hevc::NalTypeStr(type) + std::string(" ");
    EXPECT_EQ(hevc,
              "TRAIL TRAIL TSA TSA STSA STSA RADL RADL RASL RASL VCL VCL VCL VCL VCL VCL "
              "BLA BLA BLA IDR IDR CRA IRAP IRAP UNKNOWN UNKNOWN UNKNOWN UNKNOWN UNKNOWN UNKNOWN "
              "UNKNOWN UNKNOWN VPS SPS PPS AUD EOS EOB FD SEI-P S-SEI UNKNOWN UNKNOWN ");
    EXPECT_STREQ(Avc::NalTypeStr(0xFFFF), "UNKOWN");
    EXPECT_STREQ(Hevc::NalTypeStr(0xFFFF), "UNKNOWN");
    EXPECT_EQ(Hevc::ExtractNalType(0x4001), 32);
    EXPECT_EQ(Hevc::ExtractNalType(0xFFFF), 63);
    EXPECT_EQ(Avc::ExtractNalType(0xE7FF), 7);
}

}  // namespace
}  // namespace lx2::test
