#include "DumpFile.h"

namespace lx2 {

namespace {

// Stays in the processor's second-level cache, and holds more than a hundred rows of 1080p.
constexpr size_t kBufferSize = 256 * 1024;

}  // namespace

DumpFile::~DumpFile() {
    close();
}

bool DumpFile::open(const char* path) {
    mFile = fopen(path, "wb");
    if (mFile == nullptr)
        return false;
    if (mBuffer == nullptr)
        mBuffer.reset(new char[kBufferSize]);
    setvbuf(mFile, mBuffer.get(), _IOFBF, kBufferSize);
    return true;
}

void DumpFile::close() {
    if (mFile != nullptr)
        fclose(mFile);
    mFile = nullptr;
}

void DumpFile::write(const void* bytes, size_t size) {
    if (mFile != nullptr)
        fwrite(bytes, 1, size, mFile);
}

void DumpFile::flush() {
    if (mFile != nullptr)
        fflush(mFile);
}

}  // namespace lx2
