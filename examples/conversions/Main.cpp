// Takes moving test frames through every conversion that the color converter offers, and checks
// each picture against the planes that the video core wrote: YUV to YUV of 8 bit to the byte, the
// others within what their rounding may cost.
#include <C2PlatformSupport.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2/PixFormat.h>
#include <lx2host/OpenResources.h>
#include <lx2host/VideoCore.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace lx2::example {

namespace {

constexpr uint32_t kWidth = 320;
constexpr uint32_t kHeight = 180;
constexpr uint32_t kFrames = 8;

uint32_t DepthOf(uint32_t format) {
    return format == PixFormat::MIREL_TP10 ? 10 : 8;
}

std::shared_ptr<LX2Buffer> Allocate(LX2GraphicBufferPool* pool, uint32_t format) {
    std::shared_ptr<LX2Buffer> buffer;
    pool->setFormat(format);
    pool->setResolution(kWidth, kHeight);
    return pool->allocate(&buffer) == C2_OK ? buffer : nullptr;
}

bool Write(const LX2Buffer& buffer, const host::Frame& frame) {
    auto mapping = buffer.graphic()->map();
    return mapping != nullptr && mapping->data() != nullptr &&
           host::WriteFrame(mapping->data(), mapping->size(), buffer.graphic()->format(), frame);
}

std::optional<host::Frame> Read(const LX2Buffer& buffer) {
    const LX2Buffer::Graphic& view = *buffer.graphic();
    auto mapping = view.mapReadOnly();
    if (mapping == nullptr || mapping->data() == nullptr)
        return std::nullopt;
    return host::ReadFrame(mapping->data(), mapping->size(), view.format(), view.width(),
                           view.height());
}

int LargestDifference(const std::vector<uint16_t>& a, const std::vector<uint16_t>& b) {
    int largest = a.size() == b.size() ? 0 : 255;
    for (size_t i = 0; i < a.size() && i < b.size(); ++i)
        largest = std::max(largest, std::abs(int{a[i]} - int{b[i]}));
    return largest;
}

// The largest difference of any sample, in steps of 8 bit; -1 when a conversion failed.
int Convert(LX2GraphicBufferPool* pool, LX2ColorConverter* converter, uint32_t from, uint32_t to) {
    auto source = Allocate(pool, from);
    auto target = Allocate(pool, to);
    if (source == nullptr || target == nullptr)
        return -1;
    int largest = 0;
    for (uint32_t i = 0; i < kFrames; ++i) {
        const host::Frame frame = host::TestFrame(kWidth, kHeight, DepthOf(from), i);
        if (!Write(*source, frame) || converter->convert(source->graphic(), target->graphic()) != 0)
            return -1;
        const auto expected = Read(*source);
        const auto converted = Read(*target);
        if (!expected || !converted)
            return -1;
        const host::Frame wanted = expected->withBitDepth(converted->bitDepth);
        largest = std::max({largest, LargestDifference(wanted.y, converted->y),
                            LargestDifference(wanted.cb, converted->cb),
                            LargestDifference(wanted.cr, converted->cr)});
    }
    return largest;
}

// What the rounding of a conversion may cost.
int Allowed(uint32_t from, uint32_t to) {
    const bool rgb = from == PixFormat::RGBA8888 || from == PixFormat::RGBA8888_CMPX;
    return rgb ? 2 : DepthOf(from) != DepthOf(to) ? 1 : 0;
}

bool ConvertAll() {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
    auto pool = LX2GraphicBufferPool::Create(blocks);
    LX2ColorConverter converter;
    bool allGood = true;
    for (const auto& [from, targets] : LX2ColorConverter::QueryCapabilities().targets) {
        for (uint32_t to : targets) {
            const int difference = Convert(pool.get(), &converter, from, to);
            const bool good = difference >= 0 && difference <= Allowed(from, to);
            allGood = allGood && good;
            printf("%-16s > %-16s %u frames of %ux%u, ", PixFormat::Str(from), PixFormat::Str(to),
                   kFrames, kWidth, kHeight);
            if (difference < 0)
                printf("failed\n");
            else
                printf("largest difference %d%s\n", difference, good ? "" : ", too much");
        }
    }
    return allGood;
}

}  // namespace

}  // namespace lx2::example

int main() {
    const lx2::host::OpenResources before;
    const bool good = lx2::example::ConvertAll();
    const auto left = before.leftOpen();
    for (const std::string& line : left)
        printf("left open: %s\n", line.c_str());
    return good && left.empty() ? 0 : 1;
}
