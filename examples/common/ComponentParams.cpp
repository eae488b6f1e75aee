#include "ComponentParams.h"

#include <C2ParamInternal.h>
#include <util/C2InterfaceHelper.h>

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <stdexcept>
#include <utility>

namespace lx2::example {

const std::vector<C2FieldDescriptor> C2PictureSizeStruct::FieldList() {
    return {DESCRIBE_C2FIELD(width, "width") DESCRIBE_C2FIELD(height, "height")};
}
const std::vector<C2FieldDescriptor> C2WindowStruct::FieldList() {
    return {DESCRIBE_C2FIELD(left, "left") DESCRIBE_C2FIELD(top, "top")
                DESCRIBE_C2FIELD(picture, "size")};
}
const std::vector<C2FieldDescriptor> C2LabelStruct::FieldList() {
    return {DESCRIBE_C2FIELD(text, "text")};
}
const std::vector<C2FieldDescriptor> C2DefaultColorStruct::FieldList() {
    return {DESCRIBE_C2FIELD(range, "range") DESCRIBE_C2FIELD(primaries, "primaries")
                DESCRIBE_C2FIELD(transfer, "transfer") DESCRIBE_C2FIELD(matrix, "matrix")};
}
const std::vector<C2FieldDescriptor> C2QpRangeStruct::FieldList() {
    return {DESCRIBE_C2FIELD(min, "min") DESCRIBE_C2FIELD(max, "max")};
}

namespace {

const char* NameOf(C2FieldDescriptor::type_t type) {
    switch (type) {
        case C2FieldDescriptor::INT32:
            return "int32";
        case C2FieldDescriptor::UINT32:
            return "uint32";
        case C2FieldDescriptor::STRING:
            return "string";
        case C2FieldDescriptor::BLOB:
            return "blob";
        default:
            return "other";
    }
}

bool IsNumber(const std::string& text) {
    const size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    return text.size() > sign && text.find_first_not_of("0123456789", sign) == std::string::npos;
}

template <typename T>
T Load(const uint8_t* place) {
    T value;
    memcpy(&value, place, sizeof(value));
    return value;
}

}  // namespace

ComponentParams::ComponentParams(Kind kind, std::ostream& out) : mOut(out) {
    auto reflector = std::make_shared<C2ReflectorHelper>();
    reflector->addStructDescriptors<C2PictureSizeStruct, Priority, OutputDelay, OperatingRate,
                                    Window, Label, Comment, InitData, DefaultColor, QpRange,
                                    Bitrate, KeyFrameInterval>();
    mReflector = std::move(reflector);
    describe<Priority>("priority");
    describe<OutputDelay>("output-delay");
    describe<OperatingRate>("operating-rate");
    describe<Window>("window");
    describe<Label>("label");
    describe<Comment>("comment");
    describe<InitData>("init-data");
    describe<DefaultColor>("default-color");
    describe<QpRange>("qp-range");
    if (kind == Kind::Encoder) {
        describe<Bitrate>("bitrate");
        describe<KeyFrameInterval>("key-frame-interval");
        add(std::make_unique<Bitrate>(0u, 1000000u));
        add(std::make_unique<KeyFrameInterval>(0u, 30u));
    }
    mUpdater.addParamDesc(mReflector, mDescriptors);
    for (const auto& [name, key] : mUpdater.fields())
        mFields.push_back(
            {name, key.param->index(), key.field->type(), key.field->extent(),
             sizeof(C2Param) + key.baseOffset + _C2ParamInspector::GetOffset(*key.field)});

    // Every parameter but the operating rate, which a component describes and need not have.
    add(std::make_unique<Priority>(0));
    add(std::make_unique<OutputDelay>(2u));
    add(std::make_unique<Window>(0u, C2WindowStruct{0, 0, {1920, 1080}}));
    add(std::make_unique<Label>(kind == Kind::Encoder ? C2LabelStruct{"encoder"}
                                                      : C2LabelStruct{"decoder"}));
    add(Comment::AllocUnique(1));
    auto initData = InitData::AllocUnique(4);
    std::copy_n("\x00\x00\x00\x01", 4, initData->m.value);
    add(std::move(initData));
    add(std::make_unique<DefaultColor>(
        0u, C2DefaultColorStruct{C2Color::RANGE_LIMITED, C2Color::PRIMARIES_BT601_525,
                                 C2Color::TRANSFER_170M, C2Color::MATRIX_BT601}));
    add(std::make_unique<QpRange>(0u, C2QpRangeStruct{0, 51}));
}

C2ColorAspectsStruct ComponentParams::defaultAspects() const {
    const auto& color = *get<DefaultColor>();
    return {C2Color::range_t(color.range), C2Color::primaries_t(color.primaries),
            C2Color::transfer_t(color.transfer), C2Color::matrix_t(color.matrix)};
}

template <typename P>
void ComponentParams::describe(const char* name) {
    mDescriptors.push_back(
        std::make_shared<C2ParamDescriptor>(false, name, uint32_t{P::PARAM_TYPE}));
}

template <typename P>
void ComponentParams::add(std::unique_ptr<P> param) {
    mValues.push_back(std::move(param));
}

C2Param* ComponentParams::find(C2Param::Index index) const {
    for (const auto& value : mValues)
        if (value->index() == uint32_t{index})
            return value.get();
    return nullptr;
}

const ComponentParams::Field* ComponentParams::findField(const std::string& name) const {
    const auto field = std::find_if(mFields.begin(), mFields.end(),
                                    [&name](const Field& each) { return each.name == name; });
    return field == mFields.end() ? nullptr : &*field;
}

std::string ComponentParams::valueOf(const Field& field) const {
    const C2Param* param = find(field.param);
    if (param == nullptr)
        return "absent";
    if (param->size() < field.offset)
        return "none";
    const uint8_t* place = reinterpret_cast<const uint8_t*>(param) + field.offset;
    const size_t room = field.extent != 0 ? field.extent : param->size() - field.offset;
    switch (field.type) {
        case C2FieldDescriptor::INT32:
            return std::to_string(Load<int32_t>(place));
        case C2FieldDescriptor::UINT32:
            return std::to_string(Load<uint32_t>(place));
        case C2FieldDescriptor::STRING: {
            const char* text = reinterpret_cast<const char*>(place);
            return '"' + std::string(text, strnlen(text, room)) + '"';
        }
        default:
            return std::to_string(room) + " bytes";
    }
}

size_t ComponentParams::apply(const std::vector<std::string>& settings) {
    size_t applied = 0;
    for (const std::string& setting : settings) {
        const size_t equals = setting.find('=');
        if (equals == std::string::npos)
            mOut << setting << ": not of the form name=value\n";
        else if (applyOne(setting.substr(0, equals), setting.substr(equals + 1)))
            ++applied;
    }
    return applied;
}

// One key a message: a value that is no number throws out of the updater and would leave the keys
// after it undone.
bool ComponentParams::applyOne(const std::string& name, const std::string& value) {
    const Field* field = findField(name);
    if (field == nullptr) {
        mOut << name << ": no parameter has this name\n";
        return false;
    }
    if (find(field->param) == nullptr) {
        mOut << name << ": this component does not have the parameter\n";
        return false;
    }
    if (field->type == C2FieldDescriptor::BLOB) {
        mOut << name << ": a " << NameOf(field->type) << " can't be set from text\n";
        return false;
    }
    // The updater itself takes the number at a text's start.
    if (field->type != C2FieldDescriptor::STRING && !IsNumber(value)) {
        mOut << name << ": \"" << value << "\" is no number\n";
        return false;
    }
    const std::string before = valueOf(*field);
    try {
        mUpdater.updateParamsFromMessage({{name, value}}, &mValues);
    } catch (const std::out_of_range&) {
        mOut << name << ": " << value << " is out of range\n";
        return false;
    }
    const std::string after = valueOf(*field);
    if (after == before)
        mOut << name << ": still " << after << "\n";
    else
        mOut << name << ": " << before << " -> " << after << "\n";
    return true;
}

void ComponentParams::list() const {
    for (const Field& field : mFields)
        mOut << std::left << std::setw(26) << field.name << std::setw(8) << NameOf(field.type)
             << valueOf(field) << "\n";
}

}  // namespace lx2::example
