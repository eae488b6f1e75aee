// How fast a stream is cut at its start codes: our scanner, its plain form, and what else one would
// take for it, all over the same stream and all finding every four-byte start code. ReadMemory only
// reads the stream, and is what no scanner can beat.
#include <benchmark/benchmark.h>
#include <lx2/LX2StreamParser.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "bitstream/StartCodeScan.h"

#ifdef LX2_HAVE_GST_BASE
#include <gst/base/gstbytereader.h>
#endif

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kStreamSize = 8 << 20;
constexpr char kEncode[] =
    "ffmpeg -hide_banner -loglevel error -nostdin -f lavfi -i testsrc2=size=1280x720:rate=30 "
    "-t 4 -pix_fmt yuv420p -c:v libx264 -preset ultrafast -threads 2 -b:v 20M -f h264 - "
    "2>/dev/null";

Bytes Encoded() {
    Bytes stream;
    FILE* pipe = popen(kEncode, "r");
    if (pipe == nullptr)
        return stream;
    uint8_t chunk[65536];
    for (size_t count; (count = fread(chunk, 1, sizeof(chunk), pipe)) > 0;)
        stream.insert(stream.end(), chunk, chunk + count);
    return pclose(pipe) == 0 ? stream : Bytes();
}

Bytes Sample() {
    std::ifstream file(LX2_SAMPLES_DIR "/avc.264", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// 8 MiB of H.264, and one byte that the scanner may read behind it.
Bytes MakeStream() {
    const char* origin = "an encode of a test picture, 1280x720";
    Bytes once = Encoded();
    if (once.empty()) {
        origin = "the sample avc.264, repeated (there is no ffmpeg)";
        once = Sample();
    }
    if (once.empty() || !lx2::startcode::LongCode::isAt(once.data())) {
        fprintf(stderr, "no stream to scan\n");
        exit(1);
    }
    Bytes stream;
    while (stream.size() < kStreamSize)
        stream.insert(stream.end(), once.begin(), once.end());
    stream.resize(kStreamSize);
    stream.push_back(0);
    const size_t end = kStreamSize - 4;
    size_t codes = 0;
    for (size_t p = 0;
         (p = lx2::startcode::FindPlain<lx2::startcode::LongCode>(stream.data(), p, end)) < end;
         ++p)
        ++codes;
    fprintf(stderr, "Stream: %s; %zu bytes, %zu four-byte start codes\n", origin, kStreamSize,
            codes);
    return stream;
}

const Bytes& Stream() {
    static const Bytes stream = MakeStream();
    return stream;
}

// Runs a function that gives the number of start codes, and refuses a wrong number.
template <class Count>
void Run(benchmark::State& state, Count count) {
    const uint8_t* data = Stream().data();
    const size_t end = kStreamSize - 4;
    size_t expected = 0;
    for (size_t p = 0;
         (p = lx2::startcode::FindPlain<lx2::startcode::LongCode>(data, p, end)) < end; ++p)
        ++expected;
    for (auto _ : state) {
        if (count(data) != expected) {
            state.SkipWithError("wrong number of start codes");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kStreamSize));
}

// Unit by unit through the public call, as a component goes.
void FindNAL(benchmark::State& state) {
    Run(state, [](const uint8_t* data) {
        size_t units = 0;
        for (uint32_t at = 0, size; at + 6 <= kStreamSize; at += size, ++units) {
            uint16_t type, next;
            if (lx2::LX2AVCStreamParser::FindNAL(data + at, kStreamSize - at, &size, &type,
                                                 &next) != lx2::C2_OK)
                break;
        }
        return units;
    });
}

void PlainScan(benchmark::State& state) {
    Run(state, [](const uint8_t* data) {
        size_t codes = 0;
        const size_t end = kStreamSize - 4;
        for (size_t p = 0;
             (p = lx2::startcode::FindPlain<lx2::startcode::LongCode>(data, p, end)) < end; ++p)
            ++codes;
        return codes;
    });
}

void Memmem(benchmark::State& state) {
    Run(state, [](const uint8_t* data) {
        size_t codes = 0;
        const uint8_t* end = data + kStreamSize - 1;
        for (const uint8_t* p = data;; ++p, ++codes) {
            p = static_cast<const uint8_t*>(memmem(p, end - p, lx2::startcode::kLong, 4));
            if (p == nullptr)
                return codes;
        }
    });
}

#ifdef LX2_HAVE_GST_BASE
void GstMaskedScan(benchmark::State& state) {
    Run(state, [](const uint8_t* data) {
        size_t codes = 0;
        const guint size = kStreamSize - 1;
        GstByteReader reader;
        gst_byte_reader_init(&reader, data, size);
        for (guint from = 0; from + 4 <= size; ++from, ++codes) {
            const guint at = gst_byte_reader_masked_scan_uint32(&reader, 0xFFFFFFFF, 0x00000001,
                                                                from, size - from);
            if (at == static_cast<guint>(-1))
                break;
            from = at;
        }
        return codes;
    });
}
BENCHMARK(GstMaskedScan)->Unit(benchmark::kMicrosecond);
#endif

// Sums of the stream's words in four vectors, so that no addition waits for another: loads and
// additions, nothing else.
void ReadMemory(benchmark::State& state) {
    using Words __attribute__((vector_size(16), aligned(1), may_alias)) = uint64_t;
    const uint8_t* data = Stream().data();
    for (auto _ : state) {
        Words a{}, b{}, c{}, d{};
        for (size_t at = 0; at < kStreamSize; at += 4 * sizeof(Words)) {
            const auto* words = reinterpret_cast<const Words*>(data + at);
            a += words[0];
            b += words[1];
            c += words[2];
            d += words[3];
        }
        benchmark::DoNotOptimize(a + b + c + d);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kStreamSize));
}

BENCHMARK(FindNAL)->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainScan)->Unit(benchmark::kMicrosecond);
BENCHMARK(Memmem)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadMemory)->Unit(benchmark::kMicrosecond);

}  // namespace
