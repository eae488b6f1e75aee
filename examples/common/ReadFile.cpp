#include "ReadFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace lx2::example {

namespace {

const std::string kTooLarge =
    "is too large for this example, which takes " + std::to_string(kLargestFile >> 20) + " MiB";

// What is to be known of a file before it is read: what it is, and how large.
std::string Look(int fd) {
    struct stat status;
    if (fstat(fd, &status) != 0)
        return std::string("cannot be read: ") + strerror(errno);
    if (S_ISDIR(status.st_mode))
        return "is a folder";
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode))
        return "is neither a file nor a pipe";
    return static_cast<uint64_t>(status.st_size) > kLargestFile ? kTooLarge : "";
}

}  // namespace

std::string ReadFile(const std::string& path, std::vector<uint8_t>* bytes) {
    bytes->clear();
    // Without waiting, since the open of a pipe without a writer would wait for one.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fd >= 0 ? fdopen(fd, "rb") : nullptr, fclose);
    if (file == nullptr) {
        const std::string why = strerror(errno);
        close(fd);
        return "cannot be opened: " + why;
    }
    const std::string offence = Look(fd);
    if (!offence.empty())
        return offence;
    fcntl(fd, F_SETFL, 0);
    uint8_t chunk[65536];
    while (const size_t count = fread(chunk, 1, sizeof(chunk), file.get())) {
        if (bytes->size() + count > kLargestFile)
            return kTooLarge;
        bytes->insert(bytes->end(), chunk, chunk + count);
    }
    if (ferror(file.get()) != 0)
        return std::string("cannot be read: ") + strerror(errno);
    return bytes->empty() ? "is empty" : "";
}

}  // namespace lx2::example
