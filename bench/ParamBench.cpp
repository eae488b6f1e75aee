// A message of ten keys against 100, 1,000 and 10,000 registered fields: the updater itself, and
// the search of the keys alone beside the plain walk over all registered names.
#include <benchmark/benchmark.h>
#include <lx2/ReflectedParamUpdater.h>

#include <map>
#include <string>

namespace {

using lx2::ReflectedParamUpdater;

constexpr int kKeys = 10;
constexpr int kFieldsOfAParam = 10;
constexpr uint32_t kIndex = 0xA0008000;  // a global setting of a vendor's

std::string ParamName(int64_t param) {
    return "component-parameter-" + std::to_string(param);
}
std::string FieldName(int field) {
    return "field-" + std::to_string(field);
}

// Ten keys, spread evenly over the registered names.
ReflectedParamUpdater::Message MessageFor(int64_t fields) {
    const int64_t params = fields / kFieldsOfAParam;
    ReflectedParamUpdater::Message message;
    for (int key = 0; key < kKeys; ++key)
        message["vendor." + ParamName(params * key / kKeys) + "." + FieldName(key)] = "12345";
    return message;
}

void BM_ParseMessage(benchmark::State& state) {
    std::vector<C2FieldDescriptor> fields;
    for (int field = 0; field < kFieldsOfAParam; ++field)
        fields.emplace_back(C2FieldDescriptor::INT32, 1, FieldName(field), field * 4, 4);
    ReflectedParamUpdater updater;
    for (int64_t param = 0; param < state.range(0) / kFieldsOfAParam; ++param) {
        const uint32_t index = kIndex | static_cast<uint32_t>(param);
        updater.addParamDesc(
            std::make_shared<C2ParamDescriptor>(false, ParamName(param).c_str(), index),
            C2StructDescriptor(index, fields), nullptr, true);
    }
    const ReflectedParamUpdater::Message message = MessageFor(state.range(0));
    int64_t sum = 0;
    for (auto _ : state)
        updater.parseMessageAndDoWork(
            message, [&sum](const std::string&, const ReflectedParamUpdater::FieldDesc&,
                            const void* value, size_t) { sum += *static_cast<const int*>(value); });
    if (sum != int64_t{12345} * kKeys * static_cast<int64_t>(state.iterations()))
        state.SkipWithError("keys were missed");
}
BENCHMARK(BM_ParseMessage)->RangeMultiplier(10)->Range(100, 10000);

}  // namespace
