// The software conversion beside a copy of the same bytes and a peer, and the whole front end
// beside its parts.
#include <C2BlockInternal.h>
#include <benchmark/benchmark.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>
#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "Ratio.h"
#include "color/SoftwareConvert.h"

#ifdef LX2_HAVE_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace lx2;

// Memory that begins with a page, as that of graphic buffers does.
struct Pages {
    Pages(size_t bytes, int value)
        : mSize((bytes + kPage - 1) / kPage * kPage),
          mMemory(static_cast<uint8_t*>(std::aligned_alloc(kPage, mSize)), &std::free) {
        memset(data(), value, mSize);
    }
    uint8_t* data() const { return mMemory.get(); }
    uint32_t size() const { return static_cast<uint32_t>(mSize); }

  private:
    static constexpr size_t kPage = 4096;
    size_t mSize;
    std::unique_ptr<uint8_t, void (*)(void*)> mMemory;
};

// A planar frame and room for the video core's NV12.
struct Frame {
    explicit Frame(const benchmark::State& state)
        : width(static_cast<uint32_t>(state.range(0))),
          height(static_cast<uint32_t>(state.range(1))),
          stride((width + 511) / 512 * 512),
          rows((height + 511) / 512 * 512),
          src(Pages(bytes(), 1)),
          dst(Pages(size_t{stride} * rows * 3 / 2, 2)) {}

    size_t bytes() const { return size_t{width} * height * 3 / 2; }

    uint32_t width, height, stride, rows;
    Pages src, dst;
};

void Finish(benchmark::State& state, const Frame& frame) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * frame.bytes()));
}

void Memcpy(benchmark::State& state) {
    Frame frame(state);
    for (auto _ : state) {
        memcpy(frame.dst.data(), frame.src.data(), frame.bytes());
        benchmark::ClobberMemory();
    }
    Finish(state, frame);
}

void Convert(const Frame& frame) {
    color::ConvertYv12ToMirelNv12(frame.src.data(), frame.src.size(), frame.dst.data(),
                                  frame.dst.size(), frame.width, frame.height);
}

void Software(benchmark::State& state) {
    Frame frame(state);
    for (auto _ : state) {
        Convert(frame);
        benchmark::ClobberMemory();
    }
    Finish(state, frame);
}

void SoftwareToMemcpy(benchmark::State& state) {
    const Frame frame(state);
    bench::Compare(
        state, 1.05, [&] { memcpy(frame.dst.data(), frame.src.data(), frame.bytes()); },
        [&] { Convert(frame); });
}

#ifdef LX2_HAVE_LIBYUV
void SoftwareToLibyuv(benchmark::State& state) {
    const Frame frame(state);
    const int width = static_cast<int>(frame.width), height = static_cast<int>(frame.height);
    const int stride = static_cast<int>(frame.stride);
    const uint8_t* cr = frame.src.data() + size_t{frame.width} * frame.height;
    const uint8_t* cb = cr + size_t{frame.width} * frame.height / 4;
    bench::Compare(
        state, 1.0,
        [&] {
            libyuv::I420ToNV12(
                frame.src.data(), width, cb, width / 2, cr, width / 2, frame.dst.data(), stride,
                frame.dst.data() + size_t{frame.stride} * frame.rows, stride, width, height);
        },
        [&] { Convert(frame); });
}
#endif

std::shared_ptr<LX2Buffer> Buffer(const benchmark::State& state, uint32_t format) {
    return std::make_shared<LX2Buffer>(_C2BlockFactory::CreateGraphicBlock(host::AllocateGraphic(
        static_cast<uint32_t>(state.range(0)), static_cast<uint32_t>(state.range(1)), format, 0)));
}

// All of a conversion, beside the least that it can be: both buffers mapped with their pages in
// place, the frame converted, both unmapped.
void FrontEndToParts(benchmark::State& state) {
    const Frame frame(state);
    const auto src = Buffer(state, PixFormat::YV12);
    const auto dst = Buffer(state, PixFormat::MIREL_NV12);
    LX2ColorConverter converter;
    const auto map = [](const LX2Buffer::Graphic& view) {
        return static_cast<uint8_t*>(mmap(nullptr, view.allocSize(), PROT_READ | PROT_WRITE,
                                          MAP_SHARED | MAP_POPULATE, view.fd(), 0));
    };
    bench::Compare(
        state, 1.1,
        [&] {
            const auto &from = *src->graphic(), &to = *dst->graphic();
            uint8_t *source = map(from), *target = map(to);
            color::ConvertYv12ToMirelNv12(source, from.allocSize(), target, to.allocSize(),
                                          frame.width, frame.height);
            munmap(target, to.allocSize());
            munmap(source, from.allocSize());
        },
        [&] {
            if (converter.convert(src->graphic(), dst->graphic()) != 0)
                state.SkipWithError("conversion failed");
        });
}

void FrontEnd(benchmark::State& state, uint32_t from, uint32_t to) {
    const Frame frame(state);
    const auto src = Buffer(state, from);
    const auto dst = Buffer(state, to);
    LX2ColorConverter converter;
    for (auto _ : state) {
        if (converter.convert(src->graphic(), dst->graphic()) != 0)
            state.SkipWithError("conversion failed");
    }
    Finish(state, frame);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({1280, 720})->Args({1920, 1080})->Args({3840, 2160});
    benchmark->Unit(benchmark::kMicrosecond);
}

BENCHMARK(Memcpy)->Apply(Sizes);
BENCHMARK(Software)->Apply(Sizes);
BENCHMARK(SoftwareToMemcpy)->Apply(Sizes);
#ifdef LX2_HAVE_LIBYUV
BENCHMARK(SoftwareToLibyuv)->Apply(Sizes);
#endif
BENCHMARK(FrontEndToParts)->Apply(Sizes);
BENCHMARK_CAPTURE(FrontEnd, software, PixFormat::YV12, PixFormat::MIREL_NV12)->Apply(Sizes);
BENCHMARK_CAPTURE(FrontEnd, blitter, PixFormat::MIREL_NV12_CMPX, PixFormat::YV12)
    ->Args({1280, 720})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
