#include "DumpFile.h"

#include <cerrno>
#include <new>
#include <utility>

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
        mBuffer.reset(new (std::nothrow) char[kBufferSize]);
    if (mBuffer != nullptr)
        setvbuf(mFile, mBuffer.get(), _IOFBF, kBufferSize);
    mFailed = false;
    return true;
}

void DumpFile::close() {
    if (mFile != nullptr)
        fclose(mFile);
    mFile = nullptr;
}

void DumpFile::write(const void* bytes, size_t size) {
    if (mFile != nullptr && fwrite(bytes, 1, size, mFile) != size)
        noteError();
}

int DumpFile::flush() {
    if (mFile != nullptr && fflush(mFile) != 0)
        noteError();
    return std::exchange(mUntold, 0);
}

void DumpFile::noteError() {
    if (!mFailed)
        mUntold = errno;
    mFailed = true;
}

}  // namespace lx2
