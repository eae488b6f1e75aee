// Files that hold a stream in a container which the examples do not open.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

// For an MP4, WebM or Matroska file: what it is, with the FFmpeg command that takes out a stream
// which the examples open. Empty for any other file.
std::string DescribeContainer(const std::vector<uint8_t>& bytes, const std::string& path);

}  // namespace lx2::example
