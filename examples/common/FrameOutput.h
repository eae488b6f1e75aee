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

// A buffer in one line, behind what it is.
std::string DescribeBuffer(const char* what, const std::shared_ptr<LX2Buffer>& buffer);

class FrameOutput {
  public:
    // Into directory, or nowhere when that is empty: frames are then converted all the same.
    // mime and extension: of the input.
    FrameOutput(const std::string& directory, const std::string& mime,
                const std::string& extension);

    // Empty on success, else what is wrong in a few words; so are those of writeFrame() and of what
    // the constructor could not make.
    std::string writeInput(const std::shared_ptr<LX2Buffer>& buffer);
    const std::string& problem() const { return mProblem; }

    // Converts a frame, to the video core's NV12 or from 10 bit to YV12, and appends it. A frame of
    // another size begins another file, since a file of plain rows has but one.
    std::string writeFrame(const std::shared_ptr<LX2Buffer>& frame);

    void log(const char* text);

    // Closes all files. Says of each in one line if it does not hold what was written to it.
    std::vector<std::string> close();

    // The files of frames that were begun, in order: "frames.yuv 320x180 nv12", or
    // "frames.yuv 176x144 nv12 of 175x143" where a file has more rows and columns than the stream.
    std::vector<std::string> frameFiles() const;

    // What a user types to see the first of them; empty without one.
    std::string playCommand() const;

    uint64_t conversions() const { return mConversions; }

    // How often frames went from one format to another, by "A > B".
    const std::map<std::string, uint64_t>& conversionsByFormat() const { return mByFormat; }

  private:
    // A file and how long it is to be.
    struct File {
        std::string path;
        uint64_t bytes = 0;
    };
    struct FrameFile : File {
        std::string name;
        std::string size;  // "320x180"
        C2Rect visible;
        uint32_t format = 0;
    };

    bool prepareTarget(const LX2Buffer::Graphic& frame);
    void beginFile(const LX2Buffer::Graphic& frame, const C2Rect& crop);

    std::string mDirectory;
    std::string mProblem;
    bool mIvf;
    std::unique_ptr<LX2FileDump> mInputDump;
    std::unique_ptr<LX2FileDump> mFrameDump;
    std::unique_ptr<LX2FileLogger> mLogger;
    std::unique_ptr<LX2GraphicBufferPool> mTargetPool;
    std::shared_ptr<LX2Buffer> mTarget;
    LX2ColorConverter mConverter;
    File mInputFile;
    File mLogFile;
    std::vector<FrameFile> mFrameFiles;
    uint64_t mConversions = 0;
    std::map<std::string, uint64_t> mByFormat;
};

}  // namespace lx2::example
