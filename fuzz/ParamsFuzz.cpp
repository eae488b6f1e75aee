// Parameters of any structure and size, and any messages to them.
#include <lx2/ReflectedParamUpdater.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "Support.h"

namespace lx2::fuzz {
namespace {

// A reflector asked for these may describe one by the others, or by itself.
constexpr uint32_t kStructures = 4;
constexpr uint32_t kStructFlag = C2FieldDescriptor::STRUCT_FLAG;

// Few, so that keys meet their fields and each other.
constexpr const char* kNames[] = {"a", "b", "c", "a.b", "vendor", ""};

constexpr uint32_t kTypes[] = {C2FieldDescriptor::INT32,  C2FieldDescriptor::UINT32,
                               C2FieldDescriptor::INT64,  C2FieldDescriptor::FLOAT,
                               C2FieldDescriptor::STRING, C2FieldDescriptor::BLOB};

// Of an input, an output, the component, a vendor, and of no parameter.
constexpr uint32_t kIndexBits[] = {0, 0x10000000, 0x20000000, 0x20008000, 0x20020000};

uint32_t AnyIndex(Input* input) {
    return input->PickValueInArray(kIndexBits) |
           input->ConsumeIntegralInRange<uint32_t>(0, kStructures - 1);
}

// Inside a parameter or a little beyond it, or beyond all that a parameter can have. What lies
// between would only make parameters of gigabytes.
uint32_t AnyOffset(Input* input) {
    if (input->ConsumeIntegralInRange<int>(0, 7) != 0)
        return input->ConsumeIntegralInRange<uint32_t>(0, 64);
    return input->ConsumeIntegralInRange<uint32_t>(0x7FFFFFF7, 0xFFFFFFFF);
}

C2FieldDescriptor AnyField(Input* input) {
    uint32_t type = 0, extent = 1;
    switch (input->ConsumeIntegralInRange<int>(0, 5)) {
        case 0:
            type = AnyNumber(input);
            extent = AnyNumber(input);
            break;
        case 1:
            type = kStructFlag | input->ConsumeIntegralInRange<uint32_t>(0, kStructures - 1);
            break;
        case 2:
            type = C2FieldDescriptor::STRING;
            extent = input->ConsumeIntegralInRange<uint32_t>(0, 16);
            break;
        default:
            type = input->PickValueInArray(kTypes);
            extent = input->ConsumeIntegralInRange<uint32_t>(0, 3);
    }
    const char* name = input->PickValueInArray(kNames);
    const uint32_t offset = AnyOffset(input);
    return {type, extent, name, offset, AnyNumber(input)};
}

class Reflector : public C2ParamReflector {
  public:
    explicit Reflector(Input* input) {
        for (auto& fields : mStructures) {
            for (int i = input->ConsumeIntegralInRange<int>(0, 4); i > 0; --i)
                fields.push_back(AnyField(input));
        }
    }

    std::unique_ptr<C2StructDescriptor> describe(C2Param::CoreIndex coreIndex) const override {
        const uint32_t core = coreIndex.coreIndex() & 0x7FFF;
        if (core >= kStructures)
            return nullptr;
        return std::make_unique<C2StructDescriptor>(coreIndex, mStructures[core]);
    }

  private:
    std::vector<C2FieldDescriptor> mStructures[kStructures];
};

// A parameter whose header says size. Its memory is no longer than that.
std::unique_ptr<C2Param> ParamOf(uint32_t index, uint32_t size) {
    const size_t room = std::max<size_t>(size, sizeof(C2Param));
    void* memory = ::operator new(room);
    memset(memory, 0, room);
    const uint32_t header[] = {size, index};
    memcpy(memory, header, sizeof(header));
    return std::unique_ptr<C2Param>(static_cast<C2Param*>(memory));
}

std::string AnyKey(Input* input) {
    std::string key = input->ConsumeBool() ? "" : "vendor.";
    key += input->PickValueInArray(kNames);
    for (int depth = input->ConsumeIntegralInRange<int>(0, 3); depth > 0; --depth)
        key = key + "." + input->PickValueInArray(kNames);
    return key;
}

ReflectedParamUpdater::Message AnyMessage(Input* input) {
    ReflectedParamUpdater::Message message;
    for (int i = input->ConsumeIntegralInRange<int>(0, 6); i > 0; --i) {
        std::string key = AnyKey(input);
        message[std::move(key)] = input->ConsumeBool()
                                      ? std::to_string(input->ConsumeIntegral<int32_t>())
                                      : input->ConsumeRandomLengthString(40);
    }
    return message;
}

void Register(Input* input, ReflectedParamUpdater* updater) {
    const auto reflector = std::make_shared<Reflector>(input);
    std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors;
    for (int i = input->ConsumeIntegralInRange<int>(0, 4); i > 0; --i) {
        const uint32_t index = AnyIndex(input);
        const char* name = input->PickValueInArray(kNames);
        descriptors.push_back(std::make_shared<C2ParamDescriptor>(false, name, index));
        if (input->ConsumeIntegralInRange<int>(0, 3) == 0)
            updater->supportWholeParam(name, index);
    }
    const auto structure = reflector->describe(0u);
    switch (input->ConsumeIntegralInRange<int>(0, 3)) {
        case 0:
            for (const auto& descriptor : descriptors)
                updater->addParamDesc(descriptor, *structure, nullptr, input->ConsumeBool());
            break;
        case 1:
            for (const auto& descriptor : descriptors)
                updater->addParamStructDesc(descriptor, input->PickValueInArray(kNames),
                                            AnyOffset(input), *structure, reflector);
            break;
        default:
            descriptors.push_back(nullptr);
            updater->addParamDesc(reflector, descriptors);
    }
}

// A text that is no number, or one out of range, ends a message with one of these.
template <typename Call>
void PassingExceptions(const Call& call) {
    try {
        call();
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
}

void Apply(const ReflectedParamUpdater& updater, const ReflectedParamUpdater::Message& message,
           std::vector<std::unique_ptr<C2Param>>* params) {
    PassingExceptions([&] {
        updater.parseMessageAndDoWork(
            message, [&](const std::string& key, const ReflectedParamUpdater::FieldDesc& field,
                         const void* value, size_t size) {
                FUZZ_CHECK(message.count(key) == 1 && field.param != nullptr);
                Touch(value, size);
            });
    });
    std::vector<C2Param::Index> indices;
    PassingExceptions([&] {
        updater.getParamIndicesFromMessage(message, &indices);
        for (size_t i = 1; i < indices.size(); ++i)
            FUZZ_CHECK(uint32_t{indices[i - 1]} < uint32_t{indices[i]});
    });
    for (const C2Param::Index& index : indices)
        updater.getParamName(index);
    PassingExceptions([&] { updater.updateParamsFromMessage(message, params); });
    for (const auto& param : *params) {
        if (param != nullptr)
            Touch(param.get(), std::max<size_t>(param->size(), sizeof(C2Param)));
    }
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2::fuzz;
    Input input(data, size);
    lx2::ReflectedParamUpdater updater;
    Register(&input, &updater);

    std::vector<std::unique_ptr<C2Param>> params(1);
    for (int i = input.ConsumeIntegralInRange<int>(0, 6); i > 0; --i) {
        const uint32_t index = AnyIndex(&input);
        params.push_back(ParamOf(index, input.ConsumeIntegralInRange<uint32_t>(0, 80)));
    }
    for (int i = input.ConsumeIntegralInRange<int>(1, 3); i > 0; --i)
        Apply(updater, AnyMessage(&input), &params);
    updater.getParamName(lx2::fuzz::AnyNumber(&input));
    return 0;
}
