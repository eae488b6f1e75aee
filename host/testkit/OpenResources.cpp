#include <lx2host/DmaBuf.h>
#include <lx2host/Mapper.h>
#include <lx2host/OpenResources.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace lx2::host {

namespace {

using Names = std::set<std::string>;

// What memory was allocated for and by whom; of any other file the path.
std::string Named(const std::string& path) {
    constexpr char kPrefix[] = "/memfd:lx2-dmabuf ", kSuffix[] = " (deleted)";
    const size_t at = path.find(kPrefix);
    if (at == std::string::npos)
        return path;
    const size_t start = at + sizeof(kPrefix) - 1;
    return path.substr(start, path.rfind(kSuffix) - start);
}

Names OpenDescriptors() {
    Names names;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closed;
        const std::string path = std::filesystem::read_symlink(entry, closed);
        if (closed || path == "/proc/" + std::to_string(getpid()) + "/fd")
            continue;  // the folder that is read here
        const std::string number = entry.path().filename();
        struct stat info {};
        const bool memory = IsDmaBuf(std::stoi(number)) && stat(entry.path().c_str(), &info) == 0;
        names.insert(number + " is " + Named(path) +
                     (memory ? ", " + std::to_string(info.st_size) + " bytes" : ""));
    }
    return names;
}

Names BufferMappings() {
    std::ifstream maps("/proc/self/maps");
    Names names;
    for (std::string line; std::getline(maps, line);)
        if (line.find("memfd:lx2-dmabuf ") != std::string::npos)
            names.insert(line.substr(0, line.find(' ')) + " is " + Named(line));
    return names;
}

void Compare(std::vector<std::string>* left, const char* what, uint64_t before, uint64_t now) {
    if (now > before)
        left->push_back(std::to_string(now - before) + " " + what);
}

// With those that were not there before.
void Compare(std::vector<std::string>* left, const char* what, const Names& before,
             const Names& now) {
    if (now.size() <= before.size())
        return;
    constexpr size_t kTold = 10;
    Compare(left, what, before.size(), now.size());
    std::vector<std::string> further;
    std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                        std::back_inserter(further));
    for (size_t i = 0; i < std::min(further.size(), kTold); ++i)
        left->back() += (i == 0 ? ": " : "; ") + further[i];
    if (further.size() > kTold)
        left->back() += "; ...";
}

}  // namespace

OpenResources::OpenResources()
    : mDescriptors(OpenDescriptors()),
      mMappings(BufferMappings()),
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
