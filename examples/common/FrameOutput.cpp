#include "FrameOutput.h"

#include <C2PlatformSupport.h>
#include <lx2/IVFHeaders.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <utility>

namespace lx2::example {

namespace {

uint32_t TargetFormat(uint32_t format) {
    return format == PixFormat::MIREL_TP10 ? PixFormat::YV12 : PixFormat::MIREL_NV12;
}

std::string SizeText(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// What a dump writes of a frame: rows without padding.
uint64_t DumpedBytes(const LX2Buffer::Graphic& frame) {
    const uint64_t width = frame.width();
    const uint64_t height = frame.height();
    const uint64_t chroma =
        frame.format() == PixFormat::YV12 ? height * (width / 2) : height / 2 * width;
    return width * height + chroma;
}

// And of a buffer of the stream: its codec-specific data, then the valid range.
uint64_t DumpedBytes(const LX2Buffer& buffer) {
    uint64_t bytes = buffer.linear()->size();
    for (const auto& info : buffer.infos())
        bytes += info->size() - sizeof(C2Param);
    return bytes;
}

// A line of the log: what stands before the text, the text as far as it is taken, the newline.
uint64_t LoggedBytes(const char* text) {
    return strlen("03-05 09:07:03 : ") + std::min<uint64_t>(strlen(text), 255) + 1;
}

}  // namespace

std::string DescribeBuffer(const char* what, const std::shared_ptr<LX2Buffer>& buffer) {
    char text[200];
    LX2Buffer::AsString(buffer, text, sizeof(text));
    return std::string(what) + " " + text;
}

FrameOutput::FrameOutput(const std::string& directory, const std::string& mime,
                         const std::string& extension)
    : mDirectory(directory), mIvf(extension == "ivf") {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
    mTargetPool = LX2GraphicBufferPool::Create(blocks);
    mTargetPool->setUsage(C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    if (mDirectory.empty())
        return;
    mInputFile.path = mDirectory + "/bitstream." + extension;
    LX2FileDump::Create(mime, mInputFile.path, &mInputDump);
    gC2FileLogLevel = 1;
    mLogFile.path = mDirectory + "/component.log";
    if (LX2FileLogger::Create(mLogFile.path, &mLogger) != C2_OK) {
        mProblem = mLogFile.path + ": can't be made";
        return;
    }
    std::error_code none;
    mLogFile.bytes = std::filesystem::file_size(mLogFile.path, none);  // of earlier runs
}

std::string FrameOutput::writeInput(const std::shared_ptr<LX2Buffer>& buffer) {
    if (mInputDump == nullptr)
        return "";
    if (mInputDump->write(buffer) != C2_OK)
        return "the input is not dumped";
    if (mIvf)
        mInputFile.bytes +=
            sizeof(IVFFrameHeader) + (mInputFile.bytes == 0 ? sizeof(IVFStreamHeader) : 0);
    mInputFile.bytes += DumpedBytes(*buffer);
    return "";
}

void FrameOutput::log(const char* text) {
    if (mLogger == nullptr)
        return;
    mLogger->write("%s", text);
    mLogFile.bytes += LoggedBytes(text);
}

std::vector<std::string> FrameOutput::close() {
    mInputDump.reset();
    mFrameDump.reset();
    mLogger.reset();
    std::vector<std::string> problems;
    const auto compare = [&problems](const File& file) {
        std::error_code none;
        const uint64_t there = std::filesystem::file_size(file.path, none);
        if (file.bytes != 0 && (none || there != file.bytes))
            problems.push_back(file.path + " holds " + std::to_string(none ? 0 : there) + " of " +
                               std::to_string(file.bytes) + " bytes: is the disk full?");
    };
    compare(mInputFile);
    compare(mLogFile);
    for (const FrameFile& file : mFrameFiles)
        compare(file);
    return problems;
}

std::vector<std::string> FrameOutput::frameFiles() const {
    std::vector<std::string> lines;
    for (const FrameFile& file : mFrameFiles) {
        const std::string visible = SizeText(file.visible.width, file.visible.height);
        lines.push_back(file.name + " " + file.size +
                        (file.format == PixFormat::YV12 ? " yv12" : " nv12") +
                        (visible == file.size ? "" : " of " + visible));
    }
    return lines;
}

std::string FrameOutput::playCommand() const {
    if (mFrameFiles.empty())
        return "";
    const FrameFile& file = mFrameFiles.front();
    std::string filters = "crop=" + std::to_string(file.visible.width) + ":" +
                          std::to_string(file.visible.height) + ":0:0:exact=1";
    if (SizeText(file.visible.width, file.visible.height) == file.size)
        filters.clear();
    // FFmpeg has no name for the plane order Y, Cr, Cb.
    const bool crFirst = file.format == PixFormat::YV12;
    if (crFirst)
        filters = "shuffleplanes=0:2:1:3" + (filters.empty() ? "" : "," + filters);
    return "ffplay -f rawvideo -video_size " + file.size + " -pixel_format " +
           (crFirst ? "yuv420p" : "nv12") + (filters.empty() ? "" : " -vf " + filters) + " '" +
           file.path + "'";
}

void FrameOutput::beginFile(const LX2Buffer::Graphic& frame, const C2Rect& crop) {
    FrameFile file;
    const std::string number =
        mFrameFiles.empty() ? "" : "_" + std::to_string(mFrameFiles.size() + 1);
    file.name = "frames" + number + ".yuv";
    file.path = mDirectory + "/" + file.name;
    file.size = SizeText(frame.width(), frame.height());
    file.visible = crop;
    file.format = frame.format();
    LX2FileDump::Create("video/raw", file.path, &mFrameDump);
    mFrameFiles.push_back(std::move(file));
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
    if (mFrameDump == nullptr)
        return "";
    if (mFrameDump->write(mTarget) != C2_OK)
        return "not dumped";
    mFrameFiles.back().bytes += DumpedBytes(*mTarget->graphic());
    return "";
}

}  // namespace lx2::example
