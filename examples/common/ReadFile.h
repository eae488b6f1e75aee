#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

constexpr uint64_t kLargestFile = uint64_t{512} << 20;

// Reads a whole file, or a pipe to its end; a pipe to which nobody writes is empty. Returns what is
// wrong in a few words, or an empty string.
std::string ReadFile(const std::string& path, std::vector<uint8_t>* bytes);

}  // namespace lx2::example
