#include "Support.h"

#include <lx2/Log.h>
#include <lx2host/LogSink.h>

#include <limits>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    lx2::host::SetLogSink([](int, const char*, const char*) {});
    lx2::gC2LogLevel = 0x3;
    return 0;
}

namespace lx2::fuzz {

void Touch(const void* bytes, size_t size) {
    uint8_t sum = 0;
    for (size_t i = 0; i < size; ++i)
        sum = static_cast<uint8_t>(sum + static_cast<const uint8_t*>(bytes)[i]);
    asm volatile("" : : "r"(sum));  // used, as far as the compiler knows
}

uint32_t AnyNumber(Input* input) {
    constexpr uint32_t kLargest = std::numeric_limits<uint32_t>::max();
    switch (input->ConsumeIntegralInRange<int>(0, 3)) {
        case 0:
            return input->ConsumeIntegralInRange<uint32_t>(0, 600);
        case 1:
            return kLargest - input->ConsumeIntegralInRange<uint32_t>(0, 600);
        case 2:  // around a power of two
            return (1u << input->ConsumeIntegralInRange<int>(0, 31)) +
                   input->ConsumeIntegralInRange<uint32_t>(0, 32) - 16;
        default:
            return input->ConsumeIntegral<uint32_t>();
    }
}

}  // namespace lx2::fuzz
