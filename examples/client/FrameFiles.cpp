#include "FrameFiles.h"

#include <lx2/PixFormat.h>

namespace lx2::example {

namespace {

// The format that frames are written in.
uint32_t Linear(uint32_t format) {
    return PixFormat::IsCompressed(format) ? PixFormat::GetUncompressedFor(format) : format;
}

const char* NameOf(uint32_t format) {
    static const std::pair<uint32_t, const char*> kNames[] = {{PixFormat::YV12, "yv12"},
                                                              {PixFormat::I420, "yuv420p"},
                                                              {PixFormat::MIREL_P010, "p010le"},
                                                              {PixFormat::RGBA8888, "rgba"}};
    for (const auto& [known, name] : kNames)
        if (known == Linear(format))
            return name;
    return "nv12";
}

std::string Size(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

uint64_t FrameBytes(uint32_t format, uint64_t width, uint64_t height) {
    if (Linear(format) == PixFormat::RGBA8888)
        return width * height * 4;
    return width * height + height / 2 * (width / 2) * 2;
}

}  // namespace

std::string FrameFiles::write(const std::shared_ptr<C2Buffer>& buffer) {
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
    const LX2Buffer::Graphic& frame = *wrapped->graphic();
    const bool sameFile = !mFiles.empty() && mFiles.back().width == frame.width() &&
                          mFiles.back().height == frame.height() &&
                          mFiles.back().format == frame.format();
    if (!sameFile) {
        const std::string number = mFiles.empty() ? "" : "_" + std::to_string(mFiles.size() + 1);
        mFiles.push_back({"frames" + number + ".yuv", frame.width(), frame.height(), frame.format(),
                          frame.crop(), 0});
        if (!mFolder.empty())
            LX2FileDump::Create("video/raw", path(mFiles.back()), &mDump, true);
    }
    if (mDump == nullptr)
        return "";
    mFiles.back().bytes += FrameBytes(frame.format(), frame.width(), frame.height());
    return mDump->write(wrapped) == C2_OK ? "" : "not written";
}

void FrameFiles::close(Report* report) {
    mDump.reset();
    for (const File& file : mFiles)
        if (!mFolder.empty())
            report->checkFile(path(file), file.bytes);
}

std::vector<std::string> FrameFiles::names() const {
    std::vector<std::string> names;
    for (const File& file : mFiles) {
        const std::string size = Size(file.width, file.height);
        const std::string visible = Size(file.visible.width, file.visible.height);
        names.push_back(file.name + " " + size + " " + NameOf(file.format) +
                        (visible == size ? "" : " of " + visible));
    }
    return names;
}

std::string FrameFiles::playCommand() const {
    if (mFiles.empty() || mFolder.empty())
        return "";
    const File& file = mFiles.front();
    std::string pixels = NameOf(file.format), filters;
    if (pixels == "yv12") {  // FFmpeg has no name for this order of planes
        pixels = "yuv420p";
        filters = ",shuffleplanes=0:2:1:3";
    }
    if (file.visible.width != file.width || file.visible.height != file.height)
        filters += ",crop=" + std::to_string(file.visible.width) + ":" +
                   std::to_string(file.visible.height) + ":0:0:exact=1";
    return "ffplay -f rawvideo -video_size " + Size(file.width, file.height) + " -pixel_format " +
           pixels + (filters.empty() ? "" : " -vf " + filters.substr(1)) + " '" + path(file) + "'";
}

}  // namespace lx2::example
