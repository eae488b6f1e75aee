// Ranges, crops and sizes of any numbers, and what is told and written of such buffers.
#include <lx2/LX2Buffer.h>
#include <lx2/LX2FileDump.h>

#include <cstring>

#include "Blocks.h"
#include "HandleMaker.h"

namespace lx2::fuzz {
namespace {

using test::LinearBlock;

constexpr const char* kMimes[] = {"video/avc", "video/x-vnd.on2.vp8", "video/x-vnd.on2.vp9",
                                  "video/raw", ""};

// In room of exactly the size that is told.
template <typename Buffer>
void Describe(const std::shared_ptr<Buffer>& buffer, uint32_t room) {
    ExactBytes out(room);
    auto* text = reinterpret_cast<char*>(out.data());
    FUZZ_CHECK(LX2Buffer::AsString(buffer, text, room) == text);
    FUZZ_CHECK(room == 0 || strnlen(text, room) < room);
}

// The buffer itself, what the framework is given of it, and that wrapped again.
void UseEachForm(Input* input, const std::shared_ptr<LX2Buffer>& buffer, LX2FileDump* dump) {
    const uint32_t room = input->ConsumeIntegralInRange<uint32_t>(0, 160);
    const std::shared_ptr<C2Buffer> shared = buffer->getSharedBuffer();
    FUZZ_CHECK(shared != nullptr);
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(shared);
    Describe(buffer, room);
    Describe(wrapped, room);
    Describe(shared, room);
    dump->write(buffer);
    dump->write(wrapped);
    dump->write(shared);
}

void UseLinear(Input* input, LX2FileDump* dump) {
    const uint32_t capacity = input->ConsumeIntegralInRange<uint32_t>(1, 8192);
    const uint64_t usage = input->ConsumeIntegralInRange<int>(0, 7) == 0
                               ? C2MemoryUsage::READ_PROTECTED
                               : C2MemoryUsage::CPU_READ;
    const auto buffer = std::make_shared<LX2Buffer>(LinearBlock(capacity), usage);
    const LX2Buffer::Linear& view = *buffer->linear();
    FUZZ_CHECK(view.isValid() && view.capacity() == capacity);
    for (int i = input->ConsumeIntegralInRange<int>(1, 3); i > 0; --i) {
        const uint32_t offset = AnyNumber(input), size = AnyNumber(input);
        const bool set = buffer->linear()->setRange(offset, size) == C2_OK;
        FUZZ_CHECK(set == (offset <= capacity) && view.offset() <= capacity);
        UseEachForm(input, buffer, dump);
    }
    const auto shared = buffer->getSharedBuffer()->data().linearBlocks();
    FUZZ_CHECK(shared.size() == 1 && uint64_t{shared[0].offset()} + shared[0].size() <= capacity);
}

C2Rect AnyRect(Input* input) {
    const uint32_t width = AnyNumber(input), height = AnyNumber(input);
    const uint32_t left = AnyNumber(input), top = AnyNumber(input);
    return C2Rect(width, height).at(left, top);
}

bool Fits(const C2Rect& crop, const C2GraphicAllocation& allocation) {
    return uint64_t{crop.left} + crop.width <= allocation.width() &&
           uint64_t{crop.top} + crop.height <= allocation.height();
}

void CheckCrop(const LX2Buffer::Graphic& view) {
    const C2Rect& crop = view.crop();
    const bool unset = (crop.width | crop.height | crop.left | crop.top) == 0;
    FUZZ_CHECK(view.effectiveWidth() == (unset ? view.width() : crop.width));
    FUZZ_CHECK(view.effectiveHeight() == (unset ? view.height() : crop.height));
}

void UseGraphic(Input* input, LX2FileDump* dump) {
    const auto allocation = AnyAllocation(input, 80);
    if (allocation == nullptr)
        return;
    const auto buffer =
        std::make_shared<LX2Buffer>(_C2BlockFactory::CreateGraphicBlock(allocation));
    LX2Buffer::Graphic* view = buffer->graphic();
    for (int i = input->ConsumeIntegralInRange<int>(1, 2); i > 0; --i) {
        const C2Rect crop = AnyRect(input);
        const bool fits = Fits(crop, *allocation);
        FUZZ_CHECK(view->setCrop(crop) == (fits ? C2_OK : C2_CANNOT_DO));
        FUZZ_CHECK(!fits || view->crop() == crop);
        CheckCrop(*view);
        UseEachForm(input, buffer, dump);
    }
}

// Frames that may be of another geometry than their memory is for. Empty rows are not written, and
// rows only as far as there is memory: but one row again and again, if the handle says that they
// all begin at the same place. So the height is not any number.
void DumpDisguised(Input* input, LX2FileDump* dump) {
    for (int i = input->ConsumeIntegralInRange<int>(1, 2); i > 0; --i) {
        auto allocation = AnyAllocation(input, kLargestSide);
        if (allocation == nullptr)
            return;
        const uint32_t width = AnySide(input);
        const uint32_t height = input->ConsumeIntegralInRange<uint32_t>(0, 1000);
        const auto buffer = Disguise(input, std::move(allocation), width, height);
        dump->write(buffer);
        dump->write(buffer->getSharedBuffer());
    }
}

void Align(Input* input) {
    const uint32_t format = input->ConsumeBool() ? input->PickValueInArray(kFormats)
                            : input->ConsumeBool()
                                ? input->ConsumeIntegralInRange<uint32_t>(0x110, 0x131)
                                : AnyNumber(input);
    const uint32_t size = AnyNumber(input);
    const uint32_t width = LX2Buffer::Graphic::GetAlignedWidth(size, format);
    const uint32_t height = LX2Buffer::Graphic::GetAlignedHeight(size, format);
    // Below the sizes at which 32 bits wrap, aligning never shrinks.
    FUZZ_CHECK(size >= 0x3FFFF000 || (width >= size) == (height >= size));
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2::fuzz;
    Input input(data, size);
    Align(&input);
    lx2::LX2FileDump dump(input.PickValueInArray(kMimes), 0, false, "", "/dev/null",
                          input.ConsumeBool());
    switch (input.ConsumeIntegralInRange<int>(0, 2)) {
        case 0:
            UseLinear(&input, &dump);
            break;
        case 1:
            UseGraphic(&input, &dump);
            break;
        default:
            DumpDisguised(&input, &dump);
    }
    const lx2::host::SyncCounts counts = lx2::host::GetSyncCounts();
    FUZZ_CHECK(counts.open == 0 && counts.unmatched == 0);
    return 0;
}
