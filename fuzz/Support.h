// What the fuzzers share. Support.cpp also gives every fuzzer a log that formats each line, the
// debug and trace ones too, and prints none.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

// What must hold whatever the input; a crash that libFuzzer reports if it doesn't.
#define FUZZ_CHECK(condition) \
    do {                      \
        if (!(condition))     \
            __builtin_trap(); \
    } while (0)

namespace lx2::fuzz {

using Input = FuzzedDataProvider;

// Heap memory of exactly size bytes, so that the address checker sees the first byte beyond it.
class ExactBytes {
  public:
    explicit ExactBytes(size_t size) : mSize(size), mBytes(new uint8_t[size]()) {}
    ExactBytes(const uint8_t* bytes, size_t size) : ExactBytes(size) {
        std::copy(bytes, bytes + size, mBytes.get());
    }
    explicit ExactBytes(const std::vector<uint8_t>& bytes)
        : ExactBytes(bytes.data(), bytes.size()) {}

    uint8_t* data() { return mBytes.get(); }
    size_t size() const { return mSize; }

  private:
    size_t mSize;
    std::unique_ptr<uint8_t[]> mBytes;
};

// Reads every byte.
void Touch(const void* bytes, size_t size);

// Often small, often near a border of 32 bits, sometimes anything.
uint32_t AnyNumber(Input* input);

}  // namespace lx2::fuzz
