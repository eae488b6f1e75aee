// Parameters as components state them, from the inside and as text from the outside.
#include <C2Config.h>
#include <C2ParamInternal.h>
#include <lx2/ReflectedParamUpdater.h>
#include <util/C2InterfaceHelper.h>

#include <cstring>

#include "Fixture.h"

constexpr uint32_t kOwn = C2Param::TYPE_INDEX_VENDOR_START + 0x50;
enum : uint32_t { kParamIndexView = kOwn + 8 };
struct C2ViewStruct {
    int32_t angle;
    C2PictureSizeStruct picture;
    char label[8];
    DEFINE_AND_DESCRIBE_C2STRUCT(View)
    C2FIELD(angle, "angle")
    C2FIELD(picture, "picture")
    C2FIELD(label, "label")
};

namespace lx2::test {

using ::testing::Each;

using Level = C2StreamParam<C2Tuning, C2Uint32Value, kOwn>::output;
using Text = C2GlobalParam<C2Setting, C2StringValue, kOwn + 5>;
using Bytes = C2GlobalParam<C2Setting, C2BlobValue, kOwn + 6>;
using Numbers = C2GlobalParam<C2Setting, C2SimpleArrayStruct<int32_t>, kOwn + 7>;
using View = C2StreamParam<C2Info, C2ViewStruct>::output;

using Params = std::vector<std::unique_ptr<C2Param>>;

template <typename P>
C2R Accept(bool, C2P<P>&) {
    return C2R::Ok();
}
struct Interface : C2InterfaceHelper {
    std::shared_ptr<Level> level;
    std::shared_ptr<Text> text;
    std::shared_ptr<Bytes> bytes;
    std::shared_ptr<Numbers> numbers;
    std::shared_ptr<View> view, third;

    Interface() : C2InterfaceHelper(std::make_shared<C2ReflectorHelper>()) {
        define(level, new Level(0u, 10), "level");
        define(numbers, Numbers::AllocUnique(2).release(), "numbers");
        define(text, Text::AllocUnique(1).release(), "text");
        define(bytes, Bytes::AllocUnique(3).release(), "bytes");
        define(view, new View(0u), "view");
        define(third, new View(3u), "view3");
    }
    template <typename P>
    void define(std::shared_ptr<P>& param, P* value, const char* name) {
        addParameter(DefineParam(param, name).withDefault(value).withSetter(Accept<P>).build());
    }
    std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors() const {
        std::vector<std::shared_ptr<C2ParamDescriptor>> all;
        EXPECT_EQ(querySupportedParams(&all), C2_OK);
        return all;
    }
};

struct InterfaceHelperTest : Fixture {
    Interface interface;
};

// The way of a text: keys by descriptors and reflector, values by query and config.
TEST_F(InterfaceHelperTest, TextsReachTheParametersFromTheOutside) {
    interface.getReflector()->addStructDescriptors<C2PictureSizeStruct>();
    ReflectedParamUpdater updater;
    updater.addParamDesc(interface.getReflector(), interface.descriptors());
    EXPECT_THAT(log.takeTexts(),
                ElementsAre("extent() != 1 for single value type: vendor.numbers.values"));
    std::string keys;
    for (const auto& [key, field] : updater.fields())
        keys += key + " ";
    EXPECT_EQ(keys,
              "vendor.bytes.value vendor.level.value "
              "vendor.text.value vendor.view.angle "
              "vendor.view.label vendor.view.picture.height vendor.view.picture.width "
              "vendor.view3.angle vendor.view3.label vendor.view3.picture.height "
              "vendor.view3.picture.width ");

    const ReflectedParamUpdater::Message message = {{"vendor.level.value", "25"},
                                                    {"vendor.text.value", "a longer text"},
                                                    {"vendor.bytes.value", "1"},
                                                    {"vendor.view.picture.width", "8"},
                                                    {"vendor.view.label", "much too long"}};
    std::vector<C2Param::Index> indices;
    updater.getParamIndicesFromMessage(message, &indices);
    Params params;
    EXPECT_EQ(interface.query({}, indices, C2_DONT_BLOCK, &params), C2_OK);
    updater.updateParamsFromMessage(message, &params);
    std::vector<C2Param*> pointers;
    for (const auto& param : params)
        pointers.push_back(param.get());
    EXPECT_EQ(interface.config(pointers, C2_MAY_BLOCK, nullptr), C2_OK);
    EXPECT_EQ(interface.level->value, 25u);
    EXPECT_STREQ(interface.text->m.value, "a longer text");
    EXPECT_EQ(interface.text->flexCount(), 14u);
    EXPECT_EQ(interface.view->picture.width, 8u);
    EXPECT_STREQ(interface.view->label, "much to");
    EXPECT_TRUE(*interface.numbers == *Numbers::AllocUnique(2) &&
                *interface.bytes == *Bytes::AllocUnique(3));
    EXPECT_THAT(log.takeTexts(), Each("Unsupported data type for vendor.bytes.value"));

    // The stream is a part of what a parameter is found by.
    interface.query({}, {interface.third->index()}, C2_DONT_BLOCK, &params);
    Params third;
    third.push_back(std::move(params.back()));
    updater.updateParamsFromMessage({{"vendor.view.picture.width", "9"}}, &third);
    EXPECT_THAT(
        log.takeTexts(),
        ElementsAre(
            "vendor.view.picture.width found, but param #-771719080 isn't present to update"));
    EXPECT_TRUE(*third[0] == *interface.third);
}

}  // namespace lx2::test
