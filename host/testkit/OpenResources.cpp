#include <lx2host/DmaBuf.h>
#include <lx2host/Mapper.h>
#include <lx2host/OpenResources.h>

#include <filesystem>
#include <fstream>

namespace lx2::host {

namespace {

uint64_t CountDescriptors() {
    uint64_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        count += entry.is_symlink() ? 1 : 0;
    return count;
}

uint64_t CountBufferMappings() {
    std::ifstream maps("/proc/self/maps");
    uint64_t count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("memfd:lx2-dmabuf") != std::string::npos ? 1 : 0;
    return count;
}

void Compare(std::vector<std::string>* left, const char* what, uint64_t before, uint64_t now) {
    if (now > before)
        left->push_back(std::to_string(now - before) + " " + what);
}

}  // namespace

OpenResources::OpenResources()
    : mDescriptors(CountDescriptors()),
      mMappings(CountBufferMappings()),
      mImports(LiveImports()),
      mBrackets(GetSyncCounts().open) {}

std::vector<std::string> OpenResources::leftOpen() const {
    std::vector<std::string> left;
    const OpenResources now;
    Compare(&left, "descriptors", mDescriptors, now.mDescriptors);
    Compare(&left, "buffer mappings", mMappings, now.mMappings);
    Compare(&left, "imported handles", mImports, now.mImports);
    Compare(&left, "cache brackets", mBrackets, now.mBrackets);
    Compare(&left, "unmatched cache ends", 0, GetSyncCounts().unmatched);
    return left;
}

}  // namespace lx2::host
