#include <lx2/ReflectedParamUpdater.h>

#include <map>
#include <random>
#include <stdexcept>
#include <thread>

#include "FieldWriter.h"
#include "Fixture.h"
#include "MessageWalk.h"

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Field = C2FieldDescriptor;
using FieldDesc = ReflectedParamUpdater::FieldDesc;
using Message = ReflectedParamUpdater::Message;
using Params = std::vector<std::unique_ptr<C2Param>>;

constexpr char kTag[] = "ReflectedParamUpdater";
constexpr uint32_t kGlobal = 0xA0000000;  // a setting of the whole component
constexpr uint32_t kStructFlag = C2FieldDescriptor::STRUCT_FLAG;
constexpr uint32_t kVendorIndex = kGlobal | (C2Param::TYPE_INDEX_VENDOR_START + 5);

class FakeReflector : public C2ParamReflector {
  public:
    std::map<uint32_t, std::vector<Field>> structures;
    std::unique_ptr<C2StructDescriptor> describe(C2Param::CoreIndex core) const override {
        const auto found = structures.find(core.coreIndex());
        return found == structures.end()
                   ? nullptr
                   : std::make_unique<C2StructDescriptor>(core, found->second);
    }
};

std::shared_ptr<C2ParamDescriptor> Desc(const char* name, uint32_t index) {
    return std::make_shared<C2ParamDescriptor>(false, name, index);
}

std::unique_ptr<C2Param> Param(uint32_t index, const std::string& body) {
    std::vector<uint32_t> memory(2 + (body.size() + 3) / 4);
    memory[0] = 8 + body.size();
    memory[1] = index;
    memcpy(&memory[2], body.data(), body.size());
    return C2Param::Copy(*C2Param::From(memory.data(), memory[0]));
}

std::string Body(const C2Param& param) {
    return std::string(reinterpret_cast<const char*>(&param) + 8, param.size() - 8);
}

int32_t IntAt(const C2Param& param, size_t offset) {
    int32_t value;
    memcpy(&value, Body(param).data() + offset, sizeof(value));
    return value;
}

class ParamUpdaterTest : public Fixture {
  protected:
    void add(const char* name, uint32_t index, std::vector<Field> fields) {
        reflector->structures[index & 0x1FFFF] = std::move(fields);
        updater.addParamDesc(reflector, {Desc(name, index)});
    }
    // What the updater does with a 1 for every name: the key, where its structure lies, its size.
    std::string keysAmong(const std::vector<std::string>& names) {
        Message message;
        for (const std::string& name : names)
            message[name] = "1";
        std::string seen;
        updater.parseMessageAndDoWork(message, [&seen](const std::string& name,
                                                       const FieldDesc& desc, const void*,
                                                       size_t size) {
            seen += name + "@" + std::to_string(desc.baseOffset) + ":" + std::to_string(size) + " ";
        });
        return seen;
    }

    std::shared_ptr<FakeReflector> reflector = std::make_shared<FakeReflector>();
    ReflectedParamUpdater updater;
    Params params;
};

TEST_F(ParamUpdaterTest, NamesFollowTheNestingOfStructures) {
    reflector->structures[0x100] = {{Field::INT32, 1, "x", 0, 4}, {0x20101, 1, "deep", 12, 8}};
    reflector->structures[0x101] = {{Field::STRING, 8, "text", 0, 8}};
    add("p", kGlobal | 1, {{Field::UINT32, 1, "top", 0, 4}, {0x20100, 1, "s", 4, 20}});
    EXPECT_EQ(keysAmong({"p.s.x", "p.top", "p.s.deep.text", "p", "p.s", "p.s.deep"}),
              "p.s.deep.text@16:2 p.s.x@4:4 p.top@0:4 ");
}

TEST_F(ParamUpdaterTest, VendorParametersAreMarkedInTheListForm) {
    const std::vector<Field> fields = {{Field::INT32, 1, "min", 0, 4},
                                       {Field::INT32, 1, "max", 4, 4}};
    const std::vector<std::string> names = {"qp-range.min", "qp-range.max", "vendor.qp-range.min",
                                            "vendor.qp-range.max"};
    add("qp-range", kVendorIndex, fields);
    EXPECT_EQ(keysAmong(names), "vendor.qp-range.max@0:4 vendor.qp-range.min@0:4 ");
    EXPECT_EQ(updater.getParamName(kVendorIndex), "vendor.qp-range");

    // The single form without the mark; the parameter keeps its first name.
    updater.clear();
    EXPECT_EQ(keysAmong(names), "");
    updater.addParamDesc(Desc("qp-range", kVendorIndex), {5u, fields}, nullptr, false);
    EXPECT_EQ(keysAmong(names), "qp-range.max@0:4 qp-range.min@0:4 ");
    EXPECT_EQ(updater.getParamName(kVendorIndex), "vendor.qp-range");
    EXPECT_EQ(updater.getParamName(5u), "<unknown 5>");
    EXPECT_EQ(updater.getParamName(0xFFFFFFFF), "<unknown 4294967295>");
}

TEST_F(ParamUpdaterTest, WhatNoKeyCanAddressIsLoggedAndLeftOut) {
    updater.addParamDesc(reflector, {nullptr, Desc("dark", kGlobal | 9)});
    const std::vector<Field> none, two = {{0x20100, 1, "s", 0, 4}, {Field::BLOB, 2, "b", 4, 2}};
    updater.addParamDesc(nullptr, {9u, none}, reflector, true);
    updater.addParamDesc(nullptr, {Desc("alone", kGlobal | 8)});
    reflector->structures[0x100] = {{0x20100, 1, "self", 0, 4}};
    gC2LogLevel = 0x01000002;
    add("p", kGlobal | 1,
        {{Field::INT32, 4, "array", 0, 16},
         {Field::FLOAT, 0, "none", 0, 0},
         {8, 1, "eight", 0, 4},
         {0x102, 1, "odd", 0, 4},
         {0x20100, 2, "structs", 0, 8},
         {0x20055, 1, "nowhere", 0, 8},
         {0x20100, 1, "loop", 0, 4},
         {Field::STRING, 0, "text", 16, 0}});
    add("p", kGlobal | kStructFlag | 2, {{Field::INT32, 1, "x", 0, 4}});
    gC2LogLevel = 0x02000003;
    updater.addParamDesc(Desc("q", kGlobal | 3), {3u, two}, nullptr, true);
    EXPECT_THAT(
        log.take(),
        ElementsAre(Error(kTag, "Could not describe dark"), Error(kTag, "Could not describe alone"),
                    Error(kTag, "extent() != 1 for single value type: p.array"),
                    Error(kTag, "extent() != 1 for single value type: p.none"),
                    Error(kTag, "Unrecognized type: p.eight"),
                    Error(kTag, "Unrecognized type: p.odd"),
                    Error(kTag, "ignored struct field p.structs"),
                    Error(kTag, "Could not describe structure of p.nowhere"),
                    Error(kTag, "Could not describe structure of p.loop.self"),
                    Debug(kTag, "p.text registered"), Error(kTag, "ignored struct field q.s")));
    EXPECT_EQ(keysAmong({"p.array", "p.eight", "p.text", "p.x", "q.s", "dark"}), "p.text@0:2 ");
    EXPECT_EQ(updater.getParamName(kGlobal | kStructFlag | 2), "<unknown 2684485634>");
}

TEST_F(ParamUpdaterTest, AWholeParameterIsOneKeyThatTakesNoText) {
    const std::vector<Field> fields = {{Field::INT32, 1, "x", 0, 4}};
    updater.supportWholeParam("p", 1u);
    updater.supportWholeParam("p", 2u);
    updater.supportWholeParam("q", 77u);
    for (int round = 0; round < 2; ++round) {  // the list of whole parameters outlives clear()
        add("p", kGlobal | 1, fields);
        add("q", kGlobal | 2, fields);  // another core index: not that parameter
        EXPECT_EQ(keysAmong({"p", "p.x", "q", "q.x"}), "q.x@0:4 ");
        EXPECT_THAT(log.take(), ElementsAre(Error(kTag, "Unsupported data type for p")));
        updater.clear();
    }
}

TEST_F(ParamUpdaterTest, IntegersAreReadToTheirBorders) {
    add("p", kGlobal | 1, {{Field::INT32, 1, "i", 4, 4}, {Field::UINT32, 1, "u", 0, 4}});
    const std::pair<const char*, int32_t> good[] = {
        {"2147483647", INT32_MAX},
        {"-2147483648", INT32_MIN},
        {" \t42abc", 42},
        {"+7", 7},
        {"-1", -1},
        {"0x10", 0},
        {"010", 10},
    };
    for (const char* key : {"p.i", "p.u"}) {
        const size_t offset = key[2] == 'i' ? 4 : 0;
        for (const auto& [text, value] : good) {
            params.clear();
            params.push_back(Param(kGlobal | 1, "abcdefghij"));
            updater.updateParamsFromMessage({{key, text}}, &params);
            std::string expected = "abcdefghij";
            memcpy(&expected[offset], &value, 4);
            EXPECT_EQ(Body(*params[0]), expected) << text;
        }
        for (const char* text : {"2147483648", "-2147483649", "99999999999999999999"})
            EXPECT_THROW(updater.updateParamsFromMessage({{key, text}}, &params),
                         std::out_of_range);
        for (const char* text : {"abc", "", "-", "+", " ", "- 1"})
            EXPECT_THROW(updater.updateParamsFromMessage({{key, text}}, &params),
                         std::invalid_argument);
    }
}

TEST_F(ParamUpdaterTest, AnExceptionLeavesTheKeysBeforeItDone) {
    for (const char* name : {"a", "b", "c"}) {
        params.push_back(Param(kGlobal | name[0], std::string(4, '\0')));
        add(name, kGlobal | name[0], {{Field::INT32, 1, "x", 0, 4}});
    }
    const Message message = {{"c.x", "3"}, {"b.x", "none"}, {"a.x", "1"}};
    EXPECT_THROW(updater.updateParamsFromMessage(message, &params), std::invalid_argument);
    EXPECT_EQ(IntAt(*params[0], 0), 1);
    EXPECT_EQ(IntAt(*params[2], 0), 0);
    std::vector<C2Param::Index> indices = {1u};
    EXPECT_THROW(updater.getParamIndicesFromMessage(message, &indices), std::invalid_argument);
    EXPECT_THAT(indices, IsEmpty());
}

TEST_F(ParamUpdaterTest, TextIsCutToTheRoomOfItsField) {
    add("p", kGlobal | 1, {{Field::STRING, 8, "t", 2, 8}});
    gC2LogLevel = 2;
    const auto bodyAfter = [this](const char* text) {
        params.clear();
        params.push_back(Param(kGlobal | 1, "............"));
        updater.updateParamsFromMessage({{"p.t", text}}, &params);
        return Body(*params[0]);
    };
    const std::string full("..abcdefg\0..", 12);
    EXPECT_EQ(bodyAfter(""), std::string("..\0.........", 12));
    EXPECT_EQ(bodyAfter("abcdefg"), full);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(bodyAfter("abcdefgh"), full);
    EXPECT_THAT(log.takeTexts(), ElementsAre("String value too long to fit: original \"abcdefgh\" "
                                             "truncated to \"abcdefg\""));
}

TEST_F(ParamUpdaterTest, AFlexibleTextSetsTheLengthOfItsParameter) {
    add("p", kGlobal | 1, {{Field::INT32, 1, "n", 0, 4}, {Field::STRING, 0, "t", 4, 0}});
    params.push_back(nullptr);
    params.push_back(Param(kGlobal | 1, "head"));
    for (size_t length : {0, 1, 2, 3, 4, 19, 18, 4, 1, 0}) {
        const C2Param* before = params[1].get();
        const bool grows = params[1]->size() < 8 + 4 + length + 1;
        updater.updateParamsFromMessage({{"p.t", std::string(length, 'x')}}, &params);
        EXPECT_EQ(Body(*params[1]), "head" + std::string(length, 'x') + '\0');
        EXPECT_EQ(uint32_t{params[1]->index()}, kGlobal | 1);
        EXPECT_EQ(params[1].get() != before, grows) << "it moves only to grow, to " << length;
    }
}

TEST_F(ParamUpdaterTest, UpdatesWhatIsThereAndLogsTheRest) {
    add("p", kGlobal | 1, {{Field::INT32, 1, "x", 0, 4}, {Field::BLOB, 4, "b", 0, 4}});
    add("q", kGlobal | 2, {{Field::INT32, 1, "x", 0, 4}, {Field::INT64, 1, "l", 0, 8}});
    params.push_back(Param(kGlobal | 1, "...."));
    params.push_back(Param(kGlobal | 1, "...."));
    params.push_back(Param(0x30000002, "...."));
    updater.updateParamsFromMessage(
        {{"p.x", "5"}, {"p.b", "1"}, {"q.x", "6"}, {"q.l", "1"}, {"r.x", "7"}}, &params);
    EXPECT_EQ(Body(*params[0]), "....");
    EXPECT_EQ(IntAt(*params[1], 0), 5) << "of two slots with one index the later counts";
    EXPECT_THAT(
        log.take(),
        ElementsAre(Error(kTag, "Unsupported data type for p.b"),
                    Error(kTag, "Unsupported data type for q.l"),
                    Error(kTag, "q.x found, but param #-1610612734 isn't present to update")));
    updater.parseMessageAndDoWork({{"p.x", "1"}}, nullptr);
    updater.getParamIndicesFromMessage({{"p.x", "1"}}, nullptr);
    updater.updateParamsFromMessage({{"p.x", "1"}}, nullptr);
    std::vector<C2Param::Index> indices = {1u};
    add("a", kGlobal | 3, {{Field::INT32, 1, "x", 0, 4}, {Field::STRING, 0, "y", 4, 0}});
    gC2LogLevel = 2;
    add("p", kGlobal | 4, {{Field::STRING, 8, "x", 0, 8}});
    EXPECT_THAT(log.take(), IsEmpty()) << "of a name the first registration wins";
    updater.getParamIndicesFromMessage({{"a.x", "1"}, {"a.y", "1"}, {"p.x", "1"}}, &indices);
    EXPECT_THAT(indices, ElementsAre(kGlobal | 1, kGlobal | 3));
}

TEST_F(ParamUpdaterTest, NothingIsWrittenOutsideTheParameter) {
    const Field flexible(Field::STRING, 0, "t", 0, 0), number(Field::INT32, 1, "n", 0, 4);
    const Field blob(Field::BLOB, 6, "b", 1, 6), far(Field::STRING, 0, "f", 0xFFFFFFFF, 0);
    std::unique_ptr<C2Param> param = Param(kGlobal | 1, "abcdefg");
    const C2Param* object = param.get();
    const auto expectUntouched = [&](const Field& field, size_t base, size_t size) {
        WriteField(&param, &field, base, "wxyzwxyz", size);
        EXPECT_EQ(param.get(), object);
        EXPECT_EQ(Body(*param), "abcdefg") << field.name() << " at " << base;
    };
    for (size_t base : {0x7FFFFFFFull - 8 - 3, 0x7FFFFFFFull, 0xFFFFFFFFull, ~0ull - 7, ~0ull})
        expectUntouched(flexible, base, 4);
    for (size_t base : {4ull, 0xFFFFFFFFull, ~0ull - 7})
        expectUntouched(number, base, 4);
    expectUntouched(blob, 1, 1);  // the padding would not fit
    expectUntouched(far, 0, 1);

    WriteField(&param, &number, 3, "wxyz", 4);
    EXPECT_EQ(Body(*param), "abcwxyz");
    WriteField(&param, &blob, 0, "ABCDEF", 6);
    EXPECT_EQ(Body(*param), "aABCDEF");
    WriteField(&param, &blob, 0, "AB", 2);
    EXPECT_EQ(Body(*param), std::string("aAB\0\0\0\0", 7));
    WriteField(&param, &flexible, 9, "Z", 1);  // past the old end: the gap is zero
    EXPECT_EQ(Body(*param), std::string("aAB\0\0\0\0\0\0Z", 10));
}

TEST_F(ParamUpdaterTest, AWholeValueBringsItsOwnHeader) {
    std::unique_ptr<C2Param> param = Param(kGlobal | 1, "abc");
    for (const char* body : {"longer", "short"}) {
        const auto value = Param(kGlobal | 1, body);
        for (size_t size : {size_t(value->size()), size_t(value->size() - 1), size_t(4)}) {
            WriteField(&param, nullptr, 0, value.get(), size);  // a claim of more than it has: not
            EXPECT_EQ(*param, *value);
        }
        const uint32_t headless[] = {7, kGlobal | 1};
        WriteField(&param, nullptr, 0, headless, sizeof(headless));
        EXPECT_EQ(*param, *value);
    }
}

TEST(MessageWalkTest, LookingUpTheKeysVisitsWhatWalkingTheNamesVisits) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        std::map<std::string, int> fields;
        Message message;
        const auto name = [&] { return std::string(1 + random() % 2, char(random() % 256)); };
        for (uint32_t i = random() % 60; i > 0; --i)
            fields[name()] = int(i);
        for (uint32_t i = random() % 60; i > 0; --i)
            message[name()] = std::to_string(i);
        std::string seen[2];
        const auto into = [](std::string* out) {
            return [out](const std::string& name, int field, const std::string& text) {
                *out += name + "," + std::to_string(field) + "," + text + ";";
            };
        };
        VisitByKey(fields, message, into(&seen[0]));
        VisitByName(fields, message, into(&seen[1]));
        ASSERT_EQ(seen[0], seen[1]);
    }
}

TEST_F(ParamUpdaterTest, SeveralThreadsReadMessagesAtOnce) {
    add("p", kGlobal | 1, {{Field::INT32, 1, "n", 0, 4}, {Field::STRING, 0, "t", 4, 0}});
    std::vector<std::thread> threads;
    std::vector<Params> lists(4);
    for (size_t id = 0; id < lists.size(); ++id)
        threads.emplace_back([this, id, &mine = lists[id]] {
            mine.push_back(Param(kGlobal | 1, "...."));
            for (size_t i = 0; i < 200; ++i) {
                updater.updateParamsFromMessage(
                    {{"p.n", std::to_string(id)}, {"p.t", std::string(i % 7 + id, 'x')}}, &mine);
                std::vector<C2Param::Index> indices;
                updater.getParamIndicesFromMessage({{"p.n", "1"}}, &indices);
                if (indices.size() != 1 || updater.getParamName(indices[0]) != "p")
                    mine.clear();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    for (size_t id = 0; id < lists.size(); ++id) {
        ASSERT_EQ(lists[id].size(), 1u);
        EXPECT_EQ(IntAt(*lists[id][0], 0), int(id));
        EXPECT_EQ(lists[id][0]->size(), 8 + 4 + 199 % 7 + id + 1);
    }
}

}  // namespace
}  // namespace lx2::test
