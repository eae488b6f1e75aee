#include <lx2/IVFHeaders.h>
#include <lx2/LX2StreamParser.h>
#include <sys/mman.h>
#include <unistd.h>

#include <numeric>
#include <random>
#include <sstream>

#include "Fixture.h"
#include "StartCodeScan.h"

namespace lx2::test {

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

// Exactly the bytes, under the address checker.
std::unique_ptr<uint8_t[]> Tight(const Bytes& bytes) {
    std::unique_ptr<uint8_t[]> tight(new uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), tight.get());
    return tight;
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

// The fast scan's answers are the plain one's, from every start in a vector.
template <class Code>
void ExpectSameScan(const Bytes& bytes, size_t codeSize) {
    const auto tight = Tight(bytes);
    const size_t end = bytes.size() - codeSize + 1;
    for (size_t from = 0; from < std::min<size_t>(33, end); ++from)
        ASSERT_EQ(startcode::Find<Code>(tight.get(), from, end),
                  startcode::FindPlain<Code>(tight.get(), from, end))
            << "from " << from << " to " << end;
}

TEST(StartCodeScanTest, FastFormAnswersLikeThePlainOne) {
    std::mt19937 random(7);
    for (size_t length = 4; length < 400; ++length)
        for (unsigned alphabet : {3u, 16u, 256u}) {
            Bytes bytes(length);
            for (uint8_t& byte : bytes)
                byte = random() % 64 == 0 ? 0 : random() % alphabet;
            ExpectSameScan<startcode::LongCode>(bytes, 4);
            ExpectSameScan<startcode::ShortCode>(bytes, 3);
        }
}

TEST(StartCodeScanTest, FindsACodeAtEveryPositionAndNoneThatIsCut) {
    using namespace startcode;
    for (size_t at = 0; at + 4 <= 300; ++at)
        for (uint8_t fill : {0xFF, 0x00}) {
            Bytes bytes(300, fill);
            std::copy_n(kLong, 4, bytes.begin() + at);
            EXPECT_EQ(Find<LongCode>(bytes.data(), 0, 297), at);
            EXPECT_EQ(Find<ShortCode>(bytes.data(), 0, 297), std::min<size_t>(at + 1, 297));
            EXPECT_EQ(Find<LongCode>(bytes.data(), 0, at), at) << "only the end, not a find";
            bytes[at + 3] = 2;
            EXPECT_EQ(Find<LongCode>(bytes.data(), 0, 297), 297u);
        }
}

using BitstreamTest = Fixture;

// No byte behind the buffer is read: the page behind it can't be.
TEST_F(BitstreamTest, ShortBuffersAtTheEndOfMemoryAreRead) {
    const size_t page = sysconf(_SC_PAGESIZE);
    auto* pages = static_cast<uint8_t*>(
        mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
    const Bytes unit = Unit(0x6500, 12);
    for (uint32_t size = 0; size <= unit.size(); ++size) {
        uint8_t* at = std::copy_backward(unit.begin(), unit.begin() + size, pages + page);
        uint32_t there = 77, config = 77;
        uint16_t type = 7777, next = 7777;
        const Bytes bytes(unit.begin(), unit.begin() + size);
        const LX2Status status = Avc::FindNAL(at, size, &there, &type, &next);
        EXPECT_EQ((Found{status, there, type, next}), FindNAL<Avc>(bytes)) << size;
        EXPECT_EQ(Avc::FindCodecConfig(at, size, &config), C2_NOT_FOUND) << size;
    }
    munmap(pages, 2 * page);
}

TEST_F(BitstreamTest, MeasuresTheFirstUnit) {
    struct Row {
        const char* what;
        Bytes bytes;
        Found found;
    };
    const Row rows[] = {
        {"one unit runs to the end", Unit(0x6742, 40), {C2_OK, 40, 7, 0xFFFF}},
        {"a byte behind a code", Join({Unit(0x6742, 40), Unit(0x6500, 5)}), {C2_OK, 40, 7, 5}},
        {"nothing behind it", Join({Unit(0x6742, 40), Unit(0, 4)}), {C2_OK, 44, 7, 0xFFFF}},
        {"short code", Join({Unit(0x6742, 9), {0, 0, 1, 0x68, 0}}), {C2_OK, 14, 7, 0xFFFF}},
        {"code at 5", Join({Unit(0x6742, 5), Unit(0x68CE, 8)}), {C2_OK, 5, 7, 8}},
        {"code in the header", Join({Unit(0, 4), Unit(0x68CE, 8)}), {C2_OK, 12, 0, 0xFFFF}},
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

TEST_F(BitstreamTest, RefusesNullPointersAndLogsTheReason) {
    const auto unit = Stored(Unit(0x6742, 8));
    uint32_t size = 0;
    uint16_t type = 0, next = 0;
    EXPECT_EQ(Avc::FindNAL(nullptr, 8, &size, &type, &next), LX2_BAD_ARG);
    EXPECT_EQ(Avc::FindNAL(unit.get(), 8, nullptr, &type, &next), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindNAL(unit.get(), 8, &size, nullptr, &next), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindNAL(unit.get(), 8, &size, &type, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(log.take(), std::vector<LogLine>(4, Error(kTag, "FindNAL: invalid args")));
    EXPECT_THAT(textsAt(kTrace, [&] { Avc::FindNAL(nullptr, 8, &size, &type, &next); }),
                ElementsAre("FindNAL", "FindNAL: invalid args"));
    EXPECT_EQ(Avc::FindNAL(unit.get() + 1, 7, &size, &type, &next), C2_CORRUPTED);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, "FindNAL: buffer does not start with start-code !")));
    EXPECT_EQ(Avc::FindHeaders(nullptr, 8, &size), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindHeaders(unit.get(), 8, nullptr), LX2_BAD_ARG);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(BitstreamTest, CountsTheHeadersThatABufferBeginsWith) {
    const Bytes sps = Unit(0x6742, 20), pps = Unit(0x68CE, 10), idr = Unit(0x6588, 90);
    const Bytes aud = Unit(0x0930, 6), sei = Unit(0x0605, 12);
    EXPECT_EQ(FindHeaders<Avc>(Join({sps, pps, aud, idr})), Walk(C2_OK, 30u));
    EXPECT_EQ(FindHeaders<Avc>(Join({aud, sps, pps, sei, idr})), Walk(C2_OK, 36u));
    EXPECT_EQ(FindHeaders<Avc>(Join({sps, sei, pps, idr})), Walk(C2_OK, 20u));
    EXPECT_EQ(FindHeaders<Avc>(Join({idr, sei, sps})), Walk(C2_NOT_FOUND, 90u));
    const Bytes vps = Unit(0x4001, 24), hevcSps = Unit(0x4201, 40), hevcPps = Unit(0x4401, 11);
    EXPECT_EQ(FindHeaders<Hevc>(Join({vps, hevcSps, hevcPps, Unit(0x2601, 50)})), Walk(C2_OK, 75u));
    EXPECT_EQ(FindHeaders<Hevc>(Join({vps, Unit(0x4601, 7), hevcSps, hevcPps})), Walk(C2_OK, 24u));
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
TEST_F(BitstreamTest, GivesEachUnitTheWholeSizeLessFourBytesAUnit) {
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

TEST_F(BitstreamTest, TouchesNothingBehindTheStartCodeThatEndsTheHeaders) {
    // No byte of storage behind the buffer: the second unit's length reaches beyond it, but the
    // code that ends that unit is found before.
    const Bytes bytes = Join({Unit(0x6742, 90), Unit(0x68CE, 96), Unit(0x6588, 6)});
    uint32_t size = 0;
    EXPECT_EQ(Avc::FindHeaders(Tight(bytes).get(), bytes.size(), &size), C2_OK);
    EXPECT_EQ(size, 186u);
}

TEST_F(BitstreamTest, LogsWhatTheLevelLetsThrough) {
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

TEST_F(BitstreamTest, WalksUnitsUnderBothStartCodes) {
    using Place = std::tuple<uint32_t, uint32_t, uint32_t, uint16_t>;  // as the fields of a unit
    struct Row {
        const char* what;
        Bytes bytes;
        std::vector<Place> avc, hevc;
    };
    const Row rows[] = {
        {"both codes, with padding before and between",
         {9, 0, 0, 0, 0, 1, 0x67, 1, 0, 0, 0, 0, 0, 1, 0x41, 0, 0, 1, 0x65, 8, 9},
         {{2, 8, 5, 7}, {10, 5, 5, 1}, {15, 6, 4, 5}},
         {{2, 8, 6, 51}, {10, 5, 5, 0xFFFF}, {15, 6, 5, 50}}},
        {"codes side by side, and one at the end",
         {0, 0, 1, 0, 0, 1, 0x68, 0, 0, 1},
         {{0, 3, 3, 0xFFFF}, {3, 4, 4, 8}, {7, 3, 3, 0xFFFF}},
         {{0, 3, 3, 0xFFFF}, {3, 4, 4, 0xFFFF}, {7, 3, 3, 0xFFFF}}},
        {"no code", {0, 0, 2, 0, 0}, {}, {}},
        {"fewer bytes than a code", {0, 0}, {}, {}},
        {"a long one",
         Join({Unit(0x4001, 300), Unit(0x4201, 9)}),
         {{0, 300, 5, 0}, {300, 9, 5, 2}},
         {{0, 300, 6, 32}, {300, 9, 6, 33}}},
    };
    const auto places = [](const auto& units) {
        std::vector<Place> found;
        for (auto it = units.begin(); it != units.end();) {
            const LX2NalUnit unit = *it++;
            found.emplace_back(unit.offset, unit.size, unit.headerSize, unit.type);
        }
        return found;
    };
    for (const Row& row : rows) {
        const auto tight = Tight(row.bytes);
        const auto size = static_cast<uint32_t>(row.bytes.size());
        EXPECT_EQ(places(LX2NalUnits<Avc>(tight.get(), size)), row.avc) << row.what;
        EXPECT_EQ(places(LX2NalUnits<Hevc>(tight.get(), size)), row.hevc) << row.what;
    }
    EXPECT_THAT(places(LX2NalUnits<Avc>(nullptr, 9)), IsEmpty());
    uint32_t code = 0;
    EXPECT_EQ(_FindStartCode(rows[0].bytes.data(), 9, 3, &code), 3u)
        << "what lies before is not asked";
    EXPECT_EQ(code, 3u);
}

TEST_F(BitstreamTest, CodecConfigIsNeverMoreThanTheBuffer) {
    const auto config = [](auto parser, const Bytes& bytes) {
        uint32_t size = 77;
        const auto tight = Tight(bytes);
        const LX2Status status = decltype(parser)::FindCodecConfig(
            tight.get(), static_cast<uint32_t>(bytes.size()), &size);
        return Walk(status, size);
    };
    const Bytes sps = Unit(0x6742, 20), pps = Unit(0x68CE, 10), aud = Unit(0x0930, 6);
    const Bytes shortPps(pps.begin() + 1, pps.end());
    EXPECT_EQ(config(Avc(), Join({sps, pps})), Walk(C2_OK, 30u));
    EXPECT_EQ(config(Avc(), Join({aud, sps, shortPps, aud, pps})), Walk(C2_OK, 35u));
    EXPECT_EQ(config(Avc(), Join({{0, 0}, sps, Unit(0x6588, 9)})), Walk(C2_OK, 22u));
    EXPECT_EQ(config(Avc(), Join({aud, Unit(0x6588, 9), sps})), Walk(C2_NOT_FOUND, 0u));
    EXPECT_EQ(config(Hevc(), Join({Unit(0x4001, 24), Unit(0x4401, 11), Unit(0x2601, 9)})),
              Walk(C2_OK, 35u));
    EXPECT_EQ(config(Hevc(), {1, 2, 3, 4}), Walk(C2_NOT_FOUND, 0u));
    uint32_t size = 0;
    EXPECT_EQ(Avc::FindCodecConfig(nullptr, 9, &size), LX2_BAD_ARG);
    EXPECT_EQ(Hevc::FindCodecConfig(sps.data(), 9, nullptr), LX2_BAD_ARG);
    EXPECT_THAT(log.take(), IsEmpty());
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
    EXPECT_EQ(Hevc::ExtractNalType(0xFFFF), 63);
    EXPECT_EQ(Avc::ExtractNalType(0xE7FF), 7);
}

constexpr uint8_t kDefaultHeader[32] = {
    0x44, 0x4B, 0x49, 0x46, 0x00, 0x00, 0x20, 0x00, 0x56, 0x50, 0x38, 0x30, 0x40, 0x01, 0xF0, 0x00,
    0x30, 0x75, 0x00, 0x00, 0xE8, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

std::vector<uint8_t> Written(const IVFStreamHeader& header) {
    std::unique_ptr<uint8_t[]> bytes;
    const size_t size = header.toBytes(&bytes);
    return {bytes.get(), bytes.get() + size};
}

using IvfTest = Fixture;

TEST_F(IvfTest, AnyBytesAreReadAsAStreamHeader) {
    EXPECT_THAT(Written(IVFStreamHeader()), ::testing::ElementsAreArray(kDefaultHeader));
    EXPECT_EQ(std::string(IVFStreamHeader::FourCC_VP9, 4), "VP90");
    // Ours in front, the bytes' own in the middle, and the reserved field cleared.
    std::vector<uint8_t> bytes(32);
    std::iota(bytes.begin(), bytes.end(), 0x80);
    const auto header = IVFStreamHeader::FromBytes(bytes.size(), bytes.data());
    ASSERT_NE(header, nullptr);
    std::copy_n(kDefaultHeader, 8, bytes.begin());
    std::fill_n(bytes.begin() + 28, 4, 0);
    EXPECT_EQ(Written(*header), bytes);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(IvfTest, FrameHeaderWritesAWideTimestampAndReadsItsLowerHalf) {
    IVFFrameHeader frame;
    frame.frameSize = 0x01020304;
    frame.timestamp = (1ull << 32) + 0x80000005;
    auto bytes = std::make_unique<uint8_t[]>(3);  // replaced; the leak checker sees to the old one
    ASSERT_EQ(frame.toBytes(&bytes), 12u);
    EXPECT_THAT(std::vector<uint8_t>(&bytes[0], &bytes[12]),
                ElementsAre(4, 3, 2, 1, 5, 0, 0, 0x80, 1, 0, 0, 0));
    const auto back = IVFFrameHeader::FromBytes(12, bytes.get());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->frameSize, 0x01020304u);
    EXPECT_EQ(back->timestamp, 0x80000005u);
}

TEST_F(IvfTest, RefusesAMissingTargetAndTooFewBytes) {
    EXPECT_EQ(IVFStreamHeader().toBytes(nullptr), 0u);
    EXPECT_EQ(IVFFrameHeader().toBytes(nullptr), 0u);
    EXPECT_EQ(IVFStreamHeader::FromBytes(31, kDefaultHeader), nullptr);
    EXPECT_EQ(IVFStreamHeader::FromBytes(32, nullptr), nullptr);
    EXPECT_EQ(IVFFrameHeader::FromBytes(11, kDefaultHeader), nullptr);
    EXPECT_EQ(IVFFrameHeader::FromBytes(12, nullptr), nullptr);
    std::ostringstream full;
    full << "FromBytes: invalid buf(" << static_cast<const void*>(kDefaultHeader) << ")";
    const std::string null = "FromBytes: invalid buf((nil))";
    EXPECT_EQ(log.take(), Errors(kTag, {"IVFStreamHeader::toBytes: invalid buf handle",
                                        "IVFFrameHeader::toBytes: invalid buf handle",
                                        "IVFStreamHeader::" + full.str() + " sz=31 v/s 32",
                                        "IVFStreamHeader::" + null + " sz=32 v/s 32",
                                        "IVFFrameHeader::" + full.str() + " sz=11 v/s 12",
                                        "IVFFrameHeader::" + null + " sz=12 v/s 12"}));
}

}  // namespace lx2::test
