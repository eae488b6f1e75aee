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

    void write(const void* bytes, size_t size);

    // Hands what was collected to the system, so that the file is complete even if the process
    // dies. The errno of a write since then that came out short, but only of the file's first; 0.
    int flush();

  private:
    void noteError();

    std::unique_ptr<char[]> mBuffer;  // none without memory for it
    FILE* mFile = nullptr;
    bool mFailed = false;
    int mUntold = 0;
};

}  // namespace lx2
