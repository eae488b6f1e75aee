// The file that a dump writes.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>

namespace lx2 {

// An open file or none. Rows of a frame are small writes: the stream collects them in a buffer so
// large that a frame costs a few system calls.
class DumpFile {
  public:
    DumpFile() = default;
    ~DumpFile();
    DumpFile(const DumpFile&) = delete;
    DumpFile& operator=(const DumpFile&) = delete;

    bool isOpen() const { return mFile != nullptr; }

    // Opens path for writing, truncated. Only while none is open; tells whether one is now.
    bool open(const char* path);
    void close();

    // Errors are not reported: a dump goes on, with what the disk has room for.
    void write(const void* bytes, size_t size);

    // Hands what was collected to the system, so that the file is complete even if the process
    // dies.
    void flush();

  private:
    std::unique_ptr<char[]> mBuffer;
    FILE* mFile = nullptr;
};

}  // namespace lx2
