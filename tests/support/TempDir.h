// A directory of a test, and what lies in it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace lx2::test {

class TempDir {
  public:
    TempDir() {
        std::string name = ::testing::TempDir() + "lx2-XXXXXX";
        mPath = mkdtemp(name.data());
    }
    ~TempDir() { std::filesystem::remove_all(mPath); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string operator/(const std::string& name) const { return mPath + "/" + name; }

  private:
    std::string mPath;
};

inline std::vector<uint8_t> ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// How many descriptors this process has open, the one that looks included.
inline size_t OpenFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

}  // namespace lx2::test
