// Dumping 1080p frames into a file in memory, beside one write() of the same bytes to the same
// file: from memory that is always there, and from a buffer that is mapped for the write as the
// dump's is, with its pages in place. Each pass opens the file anew and puts a group of frames into
// it. The last row of a format takes turns between dump and mapped write, and prints the ratio of
// the CPU times of their fastest passes.
#include <C2BlockInternal.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <lx2/LX2FileDump.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "Ratio.h"

namespace {

constexpr uint32_t kWidth = 1920, kHeight = 1080;
constexpr int kFrames = 8;

// A file in memory, and the path under which it can be opened.
class MemoryFile {
  public:
    MemoryFile() : mFd(memfd_create("dump-bench", MFD_CLOEXEC)) {}
    ~MemoryFile() { close(mFd); }
    std::string path() const { return "/proc/self/fd/" + std::to_string(mFd); }

  private:
    int mFd;
};

std::shared_ptr<lx2::LX2Buffer> Frame(uint32_t format) {
    auto buffer = std::make_shared<lx2::LX2Buffer>(_C2BlockFactory::CreateGraphicBlock(
        lx2::host::AllocateGraphic(kWidth, kHeight, format, 0)));
    const auto mapping = buffer->graphic()->map();
    memset(mapping->data(), 0x5A, mapping->size());
    return buffer;
}

int64_t FrameBytes(uint32_t format) {
    const int64_t pixels = int64_t{kWidth} * kHeight;
    return format == lx2::PixFormat::RGBA8888 ? pixels * 4 : pixels * 3 / 2;
}

void DumpPass(const MemoryFile& file, const std::shared_ptr<lx2::LX2Buffer>& frame) {
    lx2::LX2FileDump dump("video/raw", 0, false, "", file.path(), false);
    for (int i = 0; i < kFrames; ++i)
        dump.write(frame);
}

// bytes() gives what holds a frame while it is written, and its data().
template <typename Bytes>
void WritePass(const MemoryFile& file, uint32_t format, Bytes bytes) {
    const int fd = open(file.path().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (int i = 0; i < kFrames; ++i)
        benchmark::DoNotOptimize(
            write(fd, bytes()->data(), static_cast<size_t>(FrameBytes(format))));
    close(fd);
}

void SetBytes(benchmark::State& state, uint32_t format) {
    state.SetBytesProcessed(state.iterations() * kFrames * FrameBytes(format));
}

void OneWrite(benchmark::State& state, uint32_t format) {
    const MemoryFile file;
    const std::vector<char> bytes(static_cast<size_t>(FrameBytes(format)), 0x5A);
    for (auto _ : state)
        WritePass(file, format, [&] { return &bytes; });
    SetBytes(state, format);
}

void MapAndOneWrite(benchmark::State& state, uint32_t format) {
    const MemoryFile file;
    const auto frame = Frame(format);
    for (auto _ : state)
        WritePass(file, format, [&] { return frame->graphic()->mapReadOnly(); });
    SetBytes(state, format);
}

void Dump(benchmark::State& state, uint32_t format) {
    const MemoryFile file;
    const auto frame = Frame(format);
    for (auto _ : state)
        DumpPass(file, frame);
    SetBytes(state, format);
}

void DumpToMapAndOneWrite(benchmark::State& state, uint32_t format) {
    const MemoryFile file;
    const auto frame = Frame(format);
    lx2::bench::Compare(
        state, 1.1,
        [&] { WritePass(file, format, [&] { return frame->graphic()->mapReadOnly(); }); },
        [&] { DumpPass(file, frame); });
}

BENCHMARK_CAPTURE(OneWrite, NV12, lx2::PixFormat::NV12);
BENCHMARK_CAPTURE(MapAndOneWrite, NV12, lx2::PixFormat::NV12);
BENCHMARK_CAPTURE(Dump, NV12, lx2::PixFormat::NV12);
BENCHMARK_CAPTURE(DumpToMapAndOneWrite, NV12, lx2::PixFormat::NV12);
BENCHMARK_CAPTURE(Dump, MIREL_NV12, lx2::PixFormat::MIREL_NV12);
BENCHMARK_CAPTURE(OneWrite, RGBA8888, lx2::PixFormat::RGBA8888);
BENCHMARK_CAPTURE(MapAndOneWrite, RGBA8888, lx2::PixFormat::RGBA8888);
BENCHMARK_CAPTURE(Dump, RGBA8888, lx2::PixFormat::RGBA8888);
BENCHMARK_CAPTURE(DumpToMapAndOneWrite, RGBA8888, lx2::PixFormat::RGBA8888);

}  // namespace
