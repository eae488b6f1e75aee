#include "FrameOutput.h"

#include <C2PlatformSupport.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>

namespace lx2::example {

namespace {

uint32_t TargetFormat(uint32_t format) {
    return format == PixFormat::MIREL_TP10 ? PixFormat::YV12 : PixFormat::MIREL_NV12;
}

std::string SizeText(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

}  // namespace

FrameOutput::FrameOutput(const std::string& directory, const std::string& mime,
                         const std::string& extension)
    : mDirectory(directory) {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
    mTargetPool = LX2GraphicBufferPool::Create(blocks);
    mTargetPool->setUsage(C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    if (mDirectory.empty())
        return;
    LX2FileDump::Create(mime, mDirectory + "/bitstream." + extension, &mInputDump);
    gC2FileLogLevel = 1;
    LX2FileLogger::Create(mDirectory + "/component.log", &mLogger);
}

void FrameOutput::writeInput(const std::shared_ptr<LX2Buffer>& buffer) {
    if (mInputDump != nullptr)
        mInputDump->write(buffer);
}

void FrameOutput::log(const char* text) {
    if (mLogger != nullptr)
        mLogger->write("%s", text);
}

void FrameOutput::beginFile(const LX2Buffer::Graphic& frame, const C2Rect& crop) {
    const std::string number =
        mFrameFiles.empty() ? "" : "_" + std::to_string(mFrameFiles.size() + 1);
    const std::string name = "frames" + number + ".yuv";
    const std::string size = SizeText(frame.width(), frame.height());
    const std::string visible = SizeText(crop.width, crop.height);
    mFrameFiles.push_back(name + " " + size +
                          (frame.format() == PixFormat::YV12 ? " yv12" : " nv12") +
                          (visible == size ? "" : " of " + visible));
    LX2FileDump::Create("video/raw", mDirectory + "/" + name, &mFrameDump);
}

bool FrameOutput::prepareTarget(const LX2Buffer::Graphic& frame) {
    const uint32_t format = TargetFormat(frame.format());
    if (mTarget != nullptr && mTarget->graphic()->width() == frame.width() &&
        mTarget->graphic()->height() == frame.height() && mTarget->graphic()->format() == format)
        return true;
    mTargetPool->setFormat(format);
    mTargetPool->setResolution(frame.width(), frame.height());
    if (mTargetPool->allocate(&mTarget) != C2_OK)
        return false;
    if (!mDirectory.empty())
        beginFile(*mTarget->graphic(), frame.crop());
    return true;
}

std::string FrameOutput::writeFrame(const std::shared_ptr<LX2Buffer>& frame) {
    if (!prepareTarget(*frame->graphic()))
        return "no buffer to convert to";
    if (mConverter.convert(frame->graphic(), mTarget->graphic()) != 0)
        return "not converted";
    ++mConversions;
    ++mByFormat[std::string(PixFormat::Str(frame->graphic()->format())) + " > " +
                PixFormat::Str(mTarget->graphic()->format())];
    if (mFrameDump != nullptr && mFrameDump->write(mTarget) != C2_OK)
        return "not dumped";
    return "";
}

}  // namespace lx2::example
