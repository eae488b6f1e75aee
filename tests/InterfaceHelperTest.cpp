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
using Limit = C2StreamParam<C2Tuning, C2Uint32Value, kOwn + 1>::output;
using Sum = C2StreamParam<C2Tuning, C2Uint32Value, kOwn + 2>::output;
using Text = C2GlobalParam<C2Setting, C2StringValue, kOwn + 5>;
using Bytes = C2GlobalParam<C2Setting, C2BlobValue, kOwn + 6>;
using Numbers = C2GlobalParam<C2Setting, C2SimpleArrayStruct<int32_t>, kOwn + 7>;
using View = C2StreamParam<C2Info, C2ViewStruct>::output;

using Failures = std::vector<std::unique_ptr<C2SettingResult>>;
using Params = std::vector<std::unique_ptr<C2Param>>;

template <typename P>
C2R Accept(bool, C2P<P>&) {
    return C2R::Ok();
}
C2R KeepSupported(bool, const C2P<Level>& old, C2P<Level>& me) {
    if (me.F(me.v.value).supportsAtAll(me.v.value))
        return C2R::Ok();
    C2R result = C2R::Ok().plus(C2SettingResultBuilder::BadValue(me.F(me.v.value)));
    me.set().value = old.v.value;
    return result;
}
C2R AtLeastTheLevel(bool, C2P<Limit>& me, const C2P<Level>& level) {
    me.set().value = std::max(me.v.value, level.v.value);
    return C2R::Ok();
}
C2R Add(bool, C2P<Sum>& me, const C2P<Level>& level, const C2P<Limit>& limit) {
    me.set().value = level.v.value + limit.v.value;
    return C2R::Ok();
}
struct Interface : C2InterfaceHelper {
    std::shared_ptr<Level> level;
    std::shared_ptr<Limit> limit;
    std::shared_ptr<Sum> sum;
    std::shared_ptr<Text> text;
    std::shared_ptr<Bytes> bytes;
    std::shared_ptr<Numbers> numbers;
    std::shared_ptr<View> view, third;

    Interface() : C2InterfaceHelper(std::make_shared<C2ReflectorHelper>()) {
        define(level, new Level(0u, 10), "level", [&](auto& param) {
            param.withFields({C2F(level, value).inRange(10, 50, 5)}).withSetter(KeepSupported);
        });
        define(limit, new Limit(0u, 5), "limit",
               [&](auto& param) { param.hidden().withSetter(AtLeastTheLevel, level); });
        define(sum, new Sum(0u, 0), "sum",
               [&](auto& param) { param.internal().calculatedAs(Add, level, limit); });
        define(numbers, Numbers::AllocUnique(2).release(), "numbers", [&](auto& param) {
            param.withFields({C2F(numbers, m.values[0]).greaterThan(-4)})
                .withSetter(Accept<Numbers>);
        });
        define(text, Text::AllocUnique(1).release(), "text");
        define(bytes, Bytes::AllocUnique(3).release(), "bytes");
        define(view, new View(0u), "view");
        define(third, new View(3u), "view3");
    }
    template <typename P, typename State>
    void define(std::shared_ptr<P>& param, P* value, const char* name, State state) {
        auto builder = DefineParam(param, name);
        state(builder.withDefault(value));
        addParameter(builder.build());
    }
    template <typename P>
    void define(std::shared_ptr<P>& param, P* value, const char* name) {
        define(param, value, name, [](auto& builder) { builder.withSetter(Accept<P>); });
    }
    // The status, the failures, and what came of it.
    std::string set(std::vector<C2Param*> params, bool update = true) {
        Failures failures;
        std::string seen = std::to_string(config(params, C2_MAY_BLOCK, &failures, update));
        for (const auto& failure : failures)
            seen += "!" + std::to_string(failure->failure);
        for (const uint32_t value : {level->value, limit->value, sum->value})
            seen += " " + std::to_string(value);
        return seen;
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

TEST_F(InterfaceHelperTest, ASettingIsCheckedByItsSetterAndFollowedByWhatDependsOnIt) {
    EXPECT_EQ(interface.set({}), "0 10 10 20")
        << "a dependent value is worked out when it is defined";
    Level level(0u, 30), odd(0u, 31), other(1u, 20);
    EXPECT_EQ(interface.set({&level}), "0 30 30 60");
    EXPECT_EQ(interface.set({&odd}), "0!5 30 30 60");
    EXPECT_EQ(odd.value, 30u);
    Limit limit(0u, 40);
    Sum sum(0u, 7);
    EXPECT_EQ(interface.set({&limit, &sum}), "0 30 40 70");
    EXPECT_EQ(sum.value, 70u) << "a calculated value can't be set";
    level.value = 50;
    EXPECT_EQ(interface.set({nullptr, &other, &level}), "22 50 50 100")
        << "the first fault counts, and the rest is done";
    EXPECT_EQ(interface.set({&other, nullptr}), "6 50 50 100");
    level.value = 17;
    EXPECT_EQ(interface.set({&level}, false), "0!5 50 50 100");
    EXPECT_EQ(level.value, 17u) << "without an update the caller's stays as it is";
}

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
              "vendor.bytes.value vendor.level.value vendor.limit.value "
              "vendor.sum.value vendor.text.value vendor.view.angle "
              "vendor.view.label vendor.view.picture.height vendor.view.picture.width "
              "vendor.view3.angle vendor.view3.label vendor.view3.picture.height "
              "vendor.view3.picture.width ");

    const ReflectedParamUpdater::Message message = {
        {"vendor.level.value", "25"},           {"vendor.limit.value", "45"},
        {"vendor.text.value", "a longer text"}, {"vendor.bytes.value", "1"},
        {"vendor.view.picture.width", "8"},     {"vendor.view.label", "much too long"}};
    std::vector<C2Param::Index> indices;
    updater.getParamIndicesFromMessage(message, &indices);
    Params params;
    EXPECT_EQ(interface.query({}, indices, C2_DONT_BLOCK, &params), C2_OK);
    updater.updateParamsFromMessage(message, &params);
    std::vector<C2Param*> pointers;
    for (const auto& param : params)
        pointers.push_back(param.get());
    EXPECT_EQ(interface.set(pointers), "0 25 45 70");
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
