#include "ReadFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace lx2::example {

std::string ReadFile(const std::string& path, std::vector<uint8_t>* bytes) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path.c_str(), "rb"), fclose);
    if (file == nullptr)
        return std::string("cannot be opened: ") + strerror(errno);
    bytes->clear();
    uint8_t chunk[65536];
    while (const size_t count = fread(chunk, 1, sizeof(chunk), file.get()))
        bytes->insert(bytes->end(), chunk, chunk + count);
    if (ferror(file.get()) != 0)
        return std::string("cannot be read: ") + strerror(errno);
    return bytes->empty() ? "is empty" : "";
}

}  // namespace lx2::example
