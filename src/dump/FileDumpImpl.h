// What an LX2FileDump does: naming and opening (FileDump.cpp), and what is written of each kind of
// buffer (DumpWriters.cpp).
#pragma once

#include <lx2/IVFHeaders.h>
#include <lx2/LX2FileDump.h>

#include <cstdint>
#include <memory>
#include <string>

#include "DumpFile.h"
#include "ForceLinear.h"

namespace lx2 {

class LX2FileDump::Impl {
  public:
    Impl(const std::string& mime, uint32_t id, bool generateName, const std::string& prefix,
         const std::string& path, bool forceLinear);

    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    LX2Status write(const std::shared_ptr<LX2Buffer>& buffer);
    LX2Status write(const std::shared_ptr<C2Buffer>& buffer);

    static const char* extForMime(const std::string& mime);
    static IVFFrameHeader ivfFrameHeader(uint32_t size, uint32_t frameCount);

    // Names the next file; a caller's path stays.
    void generateFileName();

    // C2_OK; C2_REFUSED while a file is open, which stays; LX2_ERROR.
    LX2Status openFile();
    LX2Status closeFile();

    const char* filePath() const { return mFilePath; }

  private:
    // Paths and the time stamp are cut to this, the terminating zero included.
    static constexpr size_t kTextSize = 128;

    __attribute__((format(printf, 2, 3))) void setPath(const char* format, ...);

    LX2Status writeLinear(const LX2Buffer& buffer);
    void dumpCodecConfig(const LX2Buffer& buffer);
    void dumpStreamHeader();
    LX2Status dumpLinear(const LX2Buffer::Linear* view);

    // What a framework frame's memory is taken to be, in bytes: as long as the video core makes
    // such a frame, or as its rows need where that is more, but no longer than it is.
    static uint32_t assumedSize(const LX2Buffer::Graphic& view);
    LX2Status writeGraphic(LX2Buffer::Graphic* view);
    bool continuesFile(const LX2Buffer::Graphic& view) const;
    LX2Status startGraphicFile(const LX2Buffer::Graphic& view);
    LX2Status dumpGraphicUnCompressed(const LX2Buffer::Graphic* view);
    LX2Status dumpGraphicCompressed(const LX2Buffer::Graphic* view);

    std::string mPrefix;
    uint32_t mId;
    bool mGenerateName;
    bool mGraphic = false;
    std::string mExtension;
    char mIvfVersion;  // of VP8 or VP9, whose streams go into IVF; 0 for others
    char mTimeStamp[kTextSize] = {};
    char mFilePath[kTextSize] = {};
    uint32_t mFrameCount = 0;
    uint32_t mWidth = 0;
    uint32_t mHeight = 0;
    uint32_t mSourceFormat = 0;
    bool mForceLinear;
    uint32_t mWrittenFormat = 0;
    ForceLinear mConversion;
    DumpFile mFile;
};

}  // namespace lx2
