#include <C2ParamInternal.h>
#include <lx2/ReflectedParamUpdater.h>

#include <map>
#include <stdexcept>

#include "FieldWriter.h"
#include "Fixture.h"

namespace lx2::test {

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
    reflector->structures[0x100] = {{Field::INT32, 1, "x", 0, 4}, {0x38101, 1, "deep", 12, 8}};
    reflector->structures[0x18101] = {{Field::STRING, 8, "text", 0, 8}};
    add("p", kGlobal | 1, {{Field::UINT32, 1, "top", 0, 4}, {0x20100, 1, "s", 4, 20}});
    EXPECT_EQ(keysAmong({"p.s.x", "p.top", "p.s.deep.text", "p", "p.s", "p.s.deep"}),
              "p.s.deep.text@16:2 p.s.x@4:4 p.top@0:4 ");
    ASSERT_EQ(updater.fields().size(), 3u);
    EXPECT_EQ(updater.fields().at("p.s.deep.text").field->type(), Field::STRING);
    EXPECT_EQ(updater.fields().at("p.s.x").param->index(), kGlobal | 1);
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
    reflector->structures[0x100] = {{0x20101, 1, "other", 0, 4}};
    reflector->structures[0x101] = {{0x20102, 1, "mid", 0, 4}, {0x20101, 1, "self", 0, 4}};
    reflector->structures[0x102] = {{0x20100, 1, "back", 0, 4}};
    gC2LogLevel = 0x01000002;
    add("p", kGlobal | 1,
        {{Field::INT32, 4, "array", 0, 16},
         {Field::FLOAT, 0, "none", 0, 0},
         {0, 1, "zero", 0, 4},
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
        ElementsAre(
            Error(kTag, "Could not describe dark"), Error(kTag, "Could not describe alone"),
            Error(kTag, "extent() != 1 for single value type: p.array"),
            Error(kTag, "extent() != 1 for single value type: p.none"),
            Error(kTag, "Unrecognized type: p.zero"), Error(kTag, "Unrecognized type: p.eight"),
            Error(kTag, "Unrecognized type: p.odd"), Error(kTag, "ignored struct field p.structs"),
            Error(kTag, "Could not describe structure of p.nowhere"),
            Error(kTag, "Could not describe structure of p.loop.other.mid.back"),
            Error(kTag, "Could not describe structure of p.loop.other.self"),
            Debug(kTag, "p.text registered"), Error(kTag, "ignored struct field q.s")));
    EXPECT_EQ(keysAmong({"p.array", "p.eight", "p.text", "p.x", "q.s", "dark"}), "p.text@0:2 ");
    EXPECT_EQ(updater.getParamName(kGlobal | kStructFlag | 2), "<unknown 2684485634>");

    // A structure that the caller brings may have the core index of one that the reflector has.
    const std::vector<Field> own = {{0x20100, 1, "s", 0, 4}};
    updater.addParamDesc(Desc("own", kGlobal | 4), {0x100u, own}, reflector, true);
    EXPECT_THAT(log.takeTexts(), ElementsAre("Could not describe structure of own.s.other.mid.back",
                                             "Could not describe structure of own.s.other.self"));
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
    // Of a name the first registration wins here too.
    add("q", kGlobal | 2, fields);
    updater.supportWholeParam("q.x", 3u);
    add("q.x", kGlobal | 3, fields);
    EXPECT_EQ(keysAmong({"q.x"}), "q.x@0:4 ");
}

TEST_F(ParamUpdaterTest, IntegersAreReadToTheirBorders) {
    add("p", kGlobal | 1, {{Field::INT32, 1, "i", 4, 4}, {Field::UINT32, 1, "u", 0, 4}});
    const std::pair<const char*, int32_t> good[] = {{"2147483647", INT32_MAX},
                                                    {"-2147483648", INT32_MIN},
                                                    {" \t42abc", 42},
                                                    {"+7", 7},
                                                    {"-1", -1},
                                                    {"0x10", 0},
                                                    {"010", 10}};
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
        EXPECT_EQ(log.take().back(),
                  Error(kTag, key + std::string(": \"- 1\" is no number of 32 bits")));
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
    EXPECT_THAT(log.take(), ElementsAre(Debug(kTag,
                                              "String value too long to fit: original \"abcdefgh\" "
                                              "truncated to \"abcdefg\"")));
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
    add("r", 0x30000002, {{Field::INT32, 1, "x", 0, 4}});
    params.push_back(Param(0x30000002, "...."));  // of no direction: not valid
    updater.updateParamsFromMessage(
        {{"p.x", "5"}, {"p.b", "1"}, {"q.x", "6"}, {"q.l", "1"}, {"r.x", "7"}, {"s.x", "8"}},
        &params);
    EXPECT_EQ(Body(*params[0]), "....");
    EXPECT_EQ(IntAt(*params[1], 0), 5) << "of two slots with one index the later counts";
    EXPECT_THAT(
        log.take(),
        ElementsAre(Error(kTag, "Unsupported data type for p.b"),
                    Error(kTag, "Unsupported data type for q.l"),
                    Error(kTag, "q.x found, but param #-1610612734 isn't present to update"),
                    Error(kTag, "r.x found, but param #805306370 isn't present to update")));
    updater.parseMessageAndDoWork({{"p.x", "1"}}, nullptr);
    updater.getParamIndicesFromMessage({{"p.x", "1"}}, nullptr);
    updater.updateParamsFromMessage({{"p.x", "1"}}, nullptr);
    std::vector<C2Param::Index> indices = {1u};
    add("a", 0x60000003, {{Field::INT32, 1, "x", 0, 4}, {Field::STRING, 0, "y", 4, 0}});
    gC2LogLevel = 2;
    add("p", kGlobal | 4, {{Field::STRING, 8, "x", 0, 8}});
    EXPECT_THAT(log.take(), IsEmpty()) << "of a name the first registration wins";
    updater.getParamIndicesFromMessage({{"a.x", "1"}, {"a.y", "1"}, {"p.x", "1"}}, &indices);
    EXPECT_THAT(indices, ElementsAre(0x60000003u, kGlobal | 1));
}

TEST_F(ParamUpdaterTest, ApplyingAMessageTellsAStatusForEachKey) {
    add("p", kGlobal | 1,
        {{Field::INT32, 1, "i", 0, 4},
         {Field::UINT32, 1, "u", 4, 4},
         {Field::INT64, 1, "l", 8, 8},
         {Field::UINT64, 1, "m", 16, 8},
         {Field::FLOAT, 1, "f", 24, 4},
         {Field::STRING, 4, "s", 28, 4},
         {Field::BLOB, 4, "b", 32, 4}});
    add("q", kGlobal | 2, {{Field::INT32, 1, "x", 0, 4}});
    const struct {
        const char *key, *text;
        LX2Status status;
        std::string bytes;  // of the parameter's body, from its field on
    } kRows[] = {
        {"p.i", "-2147483648", C2_OK, {0, 0, 0, '\x80'}},
        {"p.i", "2147483648", C2_BAD_VALUE, "...."},
        {"p.u", "4294967295", C2_OK, "\xff\xff\xff\xff"},
        {"p.u", "-1", C2_BAD_VALUE, "...."},
        {"p.l", "-9223372036854775808", C2_OK, {0, 0, 0, 0, 0, 0, 0, '\x80'}},
        {"p.l", "9223372036854775808", C2_BAD_VALUE, "........"},
        {"p.m", "18446744073709551615", C2_OK, "\xff\xff\xff\xff\xff\xff\xff\xff"},
        {"p.m", "1 ", C2_BAD_VALUE, "........"},
        {"p.f", "-1.5e0", C2_OK, {0, 0, '\xc0', '\xbf'}},
        {"p.f", "1e39", C2_BAD_VALUE, "...."},
        {"p.f", " 1", C2_BAD_VALUE, "...."},
        {"p.s", "abc", C2_OK, {'a', 'b', 'c', 0}},
        {"p.s", "abcd", C2_BAD_VALUE, "...."},
        {"p.b", "1", C2_CANNOT_DO, "...."},
        {"p.i", "", C2_BAD_VALUE, "...."},
        {"q.x", "1", C2_NOT_FOUND, ""},
        {"r.x", "1", C2_BAD_INDEX, ""},
    };
    for (const auto& row : kRows) {
        params.clear();
        params.push_back(Param(kGlobal | 1, std::string(36, '.')));
        log.take();
        const auto statuses = updater.applyMessage({{row.key, row.text}}, &params);
        EXPECT_EQ(statuses, (std::map<std::string, LX2Status>{{row.key, row.status}})) << row.key;
        EXPECT_EQ(log.take().size(), row.status == C2_OK || row.status == C2_BAD_INDEX ? 0u : 1u);
        if (row.bytes.empty())
            continue;
        const auto* field = updater.fields().at(row.key).field.get();
        EXPECT_EQ(Body(*params[0]).substr(_C2ParamInspector::GetOffset(*field), row.bytes.size()),
                  row.bytes)
            << row.key << "=" << row.text;
    }
    params[0] = Param(kGlobal | 1, "....");
    EXPECT_EQ(updater.applyMessage({{"p.i", "1"}, {"p.f", "1"}}, &params),
              (std::map<std::string, LX2Status>{{"p.f", C2_CORRUPTED}, {"p.i", C2_OK}}))
        << "shorter than its descriptor says";
}

TEST_F(ParamUpdaterTest, NothingIsWrittenOutsideTheParameter) {
    const Field flexible(Field::STRING, 0, "t", 0, 0), number(Field::INT32, 1, "n", 0, 4);
    const Field far(Field::STRING, 0, "f", 0xFFFFFFFF, 0);
    std::unique_ptr<C2Param> param = Param(kGlobal | 1, "abcdefg");
    const C2Param* object = param.get();
    const auto expectUntouched = [&](const Field& field, size_t base, size_t size) {
        EXPECT_EQ(WriteField(&param, field, base, "wxyzwxyz", size), C2_CORRUPTED);
        ASSERT_EQ(param.get(), object);
        EXPECT_EQ(Body(*param), "abcdefg") << field.name() << " at " << base;
    };
    for (size_t base : {0x7FFFFFFFull - 8 - 3, 0x7FFFFFFFull, 0xFFFFFFFFull, ~0ull - 7, ~0ull})
        expectUntouched(flexible, base, 4);
    for (size_t base : {4ull, 0xFFFFFFFFull, ~0ull - 7})
        expectUntouched(number, base, 4);
    expectUntouched(far, 0, 1);

    WriteField(&param, number, 3, "wxyz", 4);
    EXPECT_EQ(Body(*param), "abcwxyz");
    WriteField(&param, flexible, 9, "Z", 1);  // past the old end: the gap is zero
    EXPECT_EQ(Body(*param), std::string("abcwxyz\0\0Z", 10));
}

}  // namespace lx2::test
