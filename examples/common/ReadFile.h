#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

// Reads a whole file. Returns what is wrong in a few words, or an empty string.
std::string ReadFile(const std::string& path, std::vector<uint8_t>* bytes);

}  // namespace lx2::example
