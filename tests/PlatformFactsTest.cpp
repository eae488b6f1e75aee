// What components and the library rely on in the platform's Codec 2.0 headers, which the stand-ins
// must say as the platform does.
#include <C2AllocatorGralloc.h>
#include <C2Config.h>
#include <C2ParamInternal.h>
#include <fcntl.h>
#include <lx2/PixFormat.h>
#include <unistd.h>
#include <util/C2InterfaceHelper.h>

#include "Blocks.h"
#include "Fixture.h"

enum : uint32_t { kParamIndexPoint = C2Param::TYPE_INDEX_VENDOR_START + 7, kParamIndexThing };
struct C2PointStruct {
    uint32_t x;
    DEFINE_AND_DESCRIBE_C2STRUCT(Point)
    C2FIELD(x, "x")
};
struct C2ThingStruct {
    C2PointStruct inner;
    int32_t values[4];
    char text[16];
    uint64_t wide;
    DEFINE_C2STRUCT(Thing)
} C2_PACK;
const std::vector<C2FieldDescriptor> C2ThingStruct::FieldList() {
    return {DESCRIBE_C2FIELD(inner, "inner") DESCRIBE_C2FIELD(values, "values")
                DESCRIBE_C2FIELD(text, "text") DESCRIBE_C2FIELD(wide, "wide")};
}

using Port = C2PortParam<C2Tuning, C2Uint32Value, 0x102>;
using Text = C2GlobalParam<C2Setting, C2StringValue, 0x105>;
using Aspects = C2StreamColorAspectsInfo;
using Hdr = C2StreamHdrStaticMetadataInfo::output;

template <typename From, typename To>
constexpr bool kConverts = std::is_convertible_v<From, To>;

static_assert(Aspects::output::PARAM_TYPE == 0xD2001809 && sizeof(Aspects::output) == 24);
static_assert(Aspects::input::PARAM_TYPE == 0xC2001809 && sizeof(Hdr) == 56);
static_assert(C2StreamColorAspectsTuning::output::PARAM_TYPE == 0x5200180B);
static_assert(Hdr::PARAM_TYPE == 0xD200180A);
static_assert(C2StreamInitDataInfo::output::PARAM_TYPE == 0xD2010809);
static_assert(Port::output::PARAM_TYPE == 0x50000102 && Port::input::PARAM_TYPE == 0x40000102);
static_assert(Text::PARAM_TYPE == 0xA0010105 && sizeof(Text) == 8 && sizeof(Port::output) == 12);
static_assert(C2StreamParam<C2Tuning, C2ThingStruct>::output::PARAM_TYPE == 0x52008008);
static_assert(C2MemoryUsage::CPU_WRITE == 4 && C2MemoryUsage::READ_PROTECTED == 2);
static_assert(C2Color::PRIMARIES_EG432 == 8 && C2Color::PRIMARIES_EBU3213 == 9);
static_assert(!kConverts<C2Param::Type, uint32_t> && kConverts<C2Param::Index, uint32_t>);
static_assert(kConverts<uint32_t, C2Param::Type> && !kConverts<uint64_t, C2Param::Type>);
static_assert(kConverts<uint32_t, C2Param::CoreIndex> && !kConverts<int, C2Param::CoreIndex>);
static_assert(!std::is_destructible_v<C2GraphicAllocation> && std::is_abstract_v<C2BlockPool>);
static_assert(!std::is_copy_constructible_v<C2StreamInitDataInfo::output>);
static_assert(!std::is_copy_assignable_v<C2StructDescriptor> && sizeof(C2ThingStruct) == 48);

namespace lx2::test {

TEST(PlatformFactsTest, LinearSharesAreHeldToTheBlock) {
    const auto memory = std::make_shared<LinearAllocation>(100, std::vector<int>());
    const auto block = _C2BlockFactory::CreateLinearBlock(memory, nullptr, 20, 50);
    const uint32_t rows[][4] = {{0, 100, 20, 50}, {0, 30, 20, 30},  {30, 50, 30, 50},
                                {60, 50, 60, 40}, {200, 5, 100, 0}, {~0u, ~0u, 100, 0}};
    for (const auto& [offset, size, begins, bytes] : rows) {
        const auto share = block->share(offset, size, C2Fence());
        EXPECT_THAT((std::vector{share.offset(), share.size()}), ElementsAre(begins, bytes));
    }
}

TEST(PlatformFactsTest, CropsAreClippedToBlockAndCrop) {
    const auto memory = host::AllocateGraphic(640, 480, PixFormat::NV12, 0);
    const auto part =
        _C2BlockFactory::CreateGraphicBlock(memory, nullptr, C2Rect(99, 98).at(50, 51));
    EXPECT_EQ(part->width(), 640u);
    const std::pair<C2Rect, std::vector<uint32_t>> rows[] = {
        {C2Rect(640, 480), {99, 98, 50, 51}},
        {C2Rect(20, 20).at(40, 41), {10, 10, 50, 51}},
        {C2Rect(99, 99).at(100, 100), {49, 49, 100, 100}},
        {C2Rect(10, 10), {0, 0, 50, 51}},
        {C2Rect(~0u, ~0u).at(1, 1), {0, 0, 50, 51}}};
    for (const auto& [asked, given] : rows)
        EXPECT_EQ(WordsOf(part->share(asked, C2Fence()).crop()), given);

    EXPECT_TRUE(C2Rect(~0u, 1).at(1, 0) == C2Rect(~0u, 2).at(2, 0));
}

TEST(PlatformFactsTest, ABufferKeepsOneInfoOfACoreIndex) {
    const auto block = LinearBlock(8)->share(0, 8, C2Fence());
    for (const size_t count : {0, 1, 2})
        EXPECT_EQ(AnyC2Buffer(std::vector(count, block)).data().type(), count == 1 ? 1u : 2u);
    const auto buffer = C2Buffer::CreateLinearBuffer(block);
    buffer->setInfo(std::make_shared<ValueInfo<0x2001>::output>(0u, 1u));
    buffer->setInfo(std::make_shared<ValueInfo<0x1001>::input>(0u, 1u));
    buffer->setInfo(std::make_shared<ValueInfo<0x1001>::output>(3u, 1u));
    std::vector<uint32_t> indices;
    for (const auto& info : buffer->info())
        indices.push_back(info->index());
    EXPECT_THAT(indices, ElementsAre(0xD2301001, 0xD2002001));
    EXPECT_TRUE(buffer->hasInfo(0x1001u) && !buffer->hasInfo(0x1002u) && C2Fence().valid());
}

TEST(PlatformFactsTest, ParametersSayWhatTheyAre) {
    Aspects::output aspects(3u), other(1u);
    EXPECT_EQ(aspects.index(), 0xD2301809u);
    EXPECT_EQ(aspects.type().type(), 0xD2001809u);
    other = aspects;
    EXPECT_EQ(other.stream(), 3u) << "assigning takes the header along";
    EXPECT_TRUE(Aspects::output(30u) && !Aspects::output(31u) && !Aspects::output(40u));
    EXPECT_EQ(C2Param::Type(0xD2321809u).type(), 0xD2021809u) << "the request bit stays";
    EXPECT_EQ(C2Param::Index(0x60000103u).stream(), ~0u);

    uint32_t words[6] = {24, 0xD2001809};
    auto* param = reinterpret_cast<C2Param*>(words);
    EXPECT_TRUE(C2Param::From(words, 24) == param && C2Param::From(words, 23) == nullptr);
    uint32_t shorter[] = {16, 0xD2001809, 9, 9};
    EXPECT_TRUE(param->updateFrom(*reinterpret_cast<C2Param*>(shorter)));
    EXPECT_THAT(words, ElementsAre(16, 0xD2001809, 9, 9, 0, 0));
    EXPECT_EQ(Aspects::output::From(param), nullptr) << "too short now";
    EXPECT_EQ(Text::AllocUnique(size_t{1} << 32), nullptr);
}

TEST(PlatformFactsTest, StructuresDescribeThemselves) {
    C2ReflectorHelper reflector;
    reflector.addStructDescriptors<C2ThingStruct, C2PointStruct, C2StreamInitDataInfo::output>();
    std::string seen;
    const auto thing = reflector.describe(0x52308008u);
    for (const auto& field : *thing) {
        std::ostringstream line;
        line << field.name() << std::hex << " " << field.type() << std::dec << " " << field.extent()
             << " at " << _C2ParamInspector::GetOffset(field) << " of "
             << _C2ParamInspector::GetSize(field) << "; ";
        seen += line.str();
    }
    EXPECT_EQ(seen,
              "inner 28007 1 at 0 of 4; values 1 4 at 4 of 4; text 100 16 at 20 of 1; "
              "wide 5 1 at 40 of 8; ");
    EXPECT_EQ(reflector.describe(kParamIndexPoint)->begin()->name(), "x");
    EXPECT_NE(reflector.describe(0x10809u), nullptr);
    EXPECT_EQ(reflector.describe(0x809u), nullptr) << "the flexible flag is part of a core index";
    const C2ParamDescriptor plain(false, "x", 0x60000103u);
    EXPECT_TRUE(plain.isPersistent() && !plain.isRequired() && !plain.isReadOnly());
}

}  // namespace lx2::test
