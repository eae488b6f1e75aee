// Files of the frames that were shown, which any player of raw video opens: linear, without
// padding. A frame of another size or format begins another file.
#pragma once

#include <lx2/LX2Buffer.h>
#include <lx2/LX2FileDump.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Report.h"

namespace lx2::example {

class FrameFiles {
  public:
    // folder: nothing is written when it is empty.
    explicit FrameFiles(std::string folder) : mFolder(std::move(folder)) {}

    // Empty, or what went wrong.
    std::string write(const std::shared_ptr<C2Buffer>& frame);

    // Reports files that are shorter than they should be.
    void close(Report* report);

    // "frames.yuv 176x144 nv12 of 175x143", one a file.
    std::vector<std::string> names() const;
    // The command that plays the first file; empty without one.
    std::string playCommand() const;

  private:
    struct File {
        std::string name;
        uint32_t width = 0, height = 0;
        uint32_t format = 0;  // of the frames
        C2Rect visible;
        uint64_t bytes = 0;  // that should be in it
    };
    std::string path(const File& file) const { return mFolder + "/" + file.name; }

    const std::string mFolder;
    std::vector<File> mFiles;
    std::unique_ptr<LX2FileDump> mDump;
};

}  // namespace lx2::example
