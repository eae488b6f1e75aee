// The color converter: its arithmetic with any numbers, its engine on memory that ends where the
// engine is told, and whole conversions between buffers whose handles say anything.
#include <lx2/LX2ColorConverter.h>

#include <limits>

#include "Engine.h"
#include "HandleMaker.h"

namespace lx2::fuzz {
namespace {

struct Inside : LX2ColorConverter {
    using LX2ColorConverter::Engine;
};
using Engine = Inside::Engine;
using Format = LX2ColorConverter::Format;

constexpr uint32_t kLargestMemory = 2 << 20;  // larger frames are refused for want of memory

void Calculate(Input* input, Engine* engine) {
    const uint32_t format = AnyFormat(input);
    const uint32_t width = AnyNumber(input), height = AnyNumber(input);
    Engine::getGBXColorFormat(format);
    for (const bool isSource : {false, true}) {
        engine->calcStride(format, width, isSource);
        const uint32_t luma = engine->calcYSize(format, width, height);
        const uint32_t size = engine->calcSize(format, width, height, isSource);
        // As long as nothing can wrap, a frame has room for its luma.
        FUZZ_CHECK(width > 16384 || height > 16384 || luma <= size ||
                   !Engine::isYUVSurface(format));
    }
}

// One side's memory: as long as the frame needs, with an offset in front, or shorter.
struct Memory {
    ExactBytes bytes;
    uint32_t offset;
};

Memory AnyMemory(Input* input, uint32_t needed) {
    if (needed > kLargestMemory || input->ConsumeIntegralInRange<int>(0, 4) == 0) {
        const uint32_t largest = std::min(needed, kLargestMemory) + 1;
        const uint32_t size = input->ConsumeIntegralInRange<uint32_t>(0, largest - 1);
        return {ExactBytes(needed > kLargestMemory ? size : std::min(size, needed)), 0};
    }
    const uint32_t offset =
        input->ConsumeBool() ? 0 : input->ConsumeIntegralInRange<uint32_t>(0, 4096);
    return {ExactBytes(size_t{offset} + needed), offset};
}

// Both sides have the same size but for a few.
void ConvertMemory(Input* input, Engine* engine) {
    Format src, dst;
    src.width = AnySide(input);
    src.height = AnySide(input);
    src.format = AnyFormat(input);
    src.stride = input->ConsumeBool() ? 0 : AnySide(input);
    dst = src;
    dst.format = AnyFormat(input);
    if (input->ConsumeIntegralInRange<int>(0, 7) == 0)
        dst.height = AnySide(input);
    engine->configure(src, dst);

    Memory from = AnyMemory(input, engine->calcSize(src.format, src.width, src.height, true));
    Memory to = AnyMemory(input, engine->calcSize(dst.format, dst.width, dst.height, false));
    engine->convert(0, from.bytes.data(), from.offset, static_cast<uint32_t>(from.bytes.size()), 0,
                    to.bytes.data(), to.offset, static_cast<uint32_t>(to.bytes.size()));
}

std::shared_ptr<C2GraphicAllocation> Allocation(Input* input, uint32_t width, uint32_t height) {
    const uint32_t format = input->PickValueInArray(kFormats);
    return host::AllocateGraphic(width, height, format,
                                 input->ConsumeBool() ? host::kUsageCompressed : 0);
}

void ConvertBuffers(Input* input, LX2ColorConverter* converter) {
    const uint32_t width = input->ConsumeIntegralInRange<uint32_t>(1, kLargestSide);
    const uint32_t height = input->ConsumeIntegralInRange<uint32_t>(1, kLargestSide);
    auto from = Allocation(input, width, height);
    auto to = Allocation(input, width, height);
    if (from == nullptr || to == nullptr)
        return;
    const bool honest = input->ConsumeBool();
    const uint32_t toldWidth = honest ? width : AnySide(input);
    const uint32_t toldHeight = honest ? height : AnySide(input);
    const auto src = Disguise(input, std::move(from), toldWidth, toldHeight);
    const auto dst = Disguise(input, std::move(to), toldWidth, toldHeight);
    for (int i = input->ConsumeIntegralInRange<int>(1, 2); i > 0; --i)
        converter->convert(src->graphic(), dst->graphic());
    FUZZ_CHECK(dst->graphic()->isValid());
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2;
    using namespace lx2::fuzz;
    Input input(data, size);
    Engine engine;
    LX2ColorConverter converter;
    for (int i = input.ConsumeIntegralInRange<int>(1, 3); i > 0; --i) {
        switch (input.ConsumeIntegralInRange<int>(0, 2)) {
            case 0:
                Calculate(&input, &engine);
                break;
            case 1:
                ConvertMemory(&input, &engine);
                break;
            default:
                ConvertBuffers(&input, &converter);
        }
    }
    return 0;
}
