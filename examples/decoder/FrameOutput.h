// Writes what the component sees to files that ordinary tools open: the bitstream as it came in,
// the frames converted to a linear format, and a log.
#pragma once

#include <lx2/LX2Buffer.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2/LX2FileDump.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lx2::example {

class FrameOutput {
  public:
    // Into directory, or nowhere when that is empty: frames are then converted all the same.
    // mime and extension: of the input.
    FrameOutput(const std::string& directory, const std::string& mime,
                const std::string& extension);

    void writeInput(const std::shared_ptr<LX2Buffer>& buffer);

    // Converts a frame, to the video core's NV12 or from 10 bit to YV12, and appends it. A frame of
    // another size begins another file, since a file of plain rows has but one. Empty on success,
    // else what is wrong in a few words.
    std::string writeFrame(const std::shared_ptr<LX2Buffer>& frame);

    void log(const char* text);

    // The files of frames that were begun, in order: "frames.yuv 320x180 nv12", or
    // "frames.yuv 176x144 nv12 of 175x143" where a file has more rows and columns than the stream.
    const std::vector<std::string>& frameFiles() const { return mFrameFiles; }

    uint64_t conversions() const { return mConversions; }

    // How often frames went from one format to another, by "A > B".
    const std::map<std::string, uint64_t>& conversionsByFormat() const { return mByFormat; }

  private:
    bool prepareTarget(const LX2Buffer::Graphic& frame);
    void beginFile(const LX2Buffer::Graphic& frame, const C2Rect& crop);

    std::string mDirectory;
    std::unique_ptr<LX2FileDump> mInputDump;
    std::unique_ptr<LX2FileDump> mFrameDump;
    std::unique_ptr<LX2FileLogger> mLogger;
    std::unique_ptr<LX2GraphicBufferPool> mTargetPool;
    std::shared_ptr<LX2Buffer> mTarget;
    LX2ColorConverter mConverter;
    std::vector<std::string> mFrameFiles;
    uint64_t mConversions = 0;
    std::map<std::string, uint64_t> mByFormat;
};

}  // namespace lx2::example
