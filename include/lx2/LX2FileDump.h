// Output for people who look into a component: the buffers that it sees, as files that ordinary
// tools open, and a log of text lines that outlives the system's.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Buffer.h>
#include <lx2/Export.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2Status.h>

#include <cstdint>
#include <memory>
#include <string>

namespace lx2 {

// Writes buffers into a file, one call a buffer. Bitstream buffers go in as they are, after the
// codec-specific data among their infos, VP8 and VP9 in the IVF container; uncompressed frames row
// by row without padding; compressed frames as they lie in memory, or converted to their linear
// format first. Rows lie as the format's planes from the start of the mapping: an offset of the
// buffer is not added. For NV12 and I420 the pitch is taken to be the width: dumps of a width that
// is no multiple of 16 are skewed. MIREL_P010 is written whole.
//
// A dump takes linear or graphic buffers, whichever comes first, for its whole life. Its file is
// opened by the first write and complete after each. A failed write leaves the dump usable: the
// next one tries again. Used by one thread at a time.
class LX2_API LX2FileDump {
  public:
    // A dump into files in /data/vendor/media/lx2/, which must be there, named after the time of
    // creation, id and prefix, and with the extension that the mime type calls for. A graphic dump
    // starts a new file, named after the frames as well, whenever their geometry or format changes.
    // forceLinear: convert compressed frames to their linear format.
    // C2_OK, the new dump in place of the one that *out held; LX2_BAD_ARG for a null out.
    static LX2Status Create(const std::string& mime, uint32_t id, const std::string& prefix,
                            std::unique_ptr<LX2FileDump>* out, bool forceLinear);

    // A dump into the one file path (cut to 127 characters). A change of geometry or format starts
    // the file anew. Without forceLinear, compressed frames stay as they are. Statuses as above.
    static LX2Status Create(const std::string& mime, const std::string& path,
                            std::unique_ptr<LX2FileDump>* out);
    static LX2Status Create(const std::string& mime, const std::string& path,
                            std::unique_ptr<LX2FileDump>* out, bool forceLinear);

    // What both make: path counts without generateName, id and prefix with it.
    LX2FileDump(const std::string& mime, uint32_t id, bool generateName, const std::string& prefix,
                const std::string& path, bool forceLinear);
    virtual ~LX2FileDump();

    LX2FileDump(LX2FileDump&&) noexcept;
    LX2FileDump& operator=(LX2FileDump&&) noexcept;

    // Appends one buffer. Maps it for reading; its memory must not be secure.
    // C2_OK; LX2_ERROR for a null buffer, one of the other kind, one that cannot be mapped or whose
    // range exceeds its memory, and when the file cannot be opened; C2_NO_INIT for a dump that was
    // moved from. A write that comes out short (a full disk) is no failure: the first of each file
    // is logged, and the dump goes on.
    LX2Status write(std::shared_ptr<LX2Buffer> buffer);

    // The same for a buffer from the framework, but LX2_BAD_ARG for null. A frame's memory is taken
    // to be as long as the video core makes such a frame, or as the rows that are written need
    // where that is more, but no longer than the memory is.
    LX2Status write(std::shared_ptr<C2Buffer> buffer);

    // The path of the file that the last write went to; before the first the path given, or
    // nothing while the name is still to be made. Empty for a dump that was moved from.
    std::string path() const;

    class LX2_LOCAL Impl;

  private:
    std::shared_ptr<Impl> mImpl;
};

// Appends lines to a text file, each with the local time before it.
//
// No lock of its own: a line is one formatted write and a flush, and concurrent writers rely on the
// stream's lock.
class LX2_API LX2FileLogger {
  public:
    // A logger that appends to path, in place of the one that *out held, whose file is closed
    // first. The file is created if missing.
    // C2_OK; LX2_BAD_ARG for a null out; C2_CANNOT_DO while gC2FileLogLevel is 0; LX2_ERROR when
    // the file cannot be opened and C2_NO_MEMORY, both logged. *out is empty after a failure.
    static LX2Status Create(const std::string& path, std::unique_ptr<LX2FileLogger>* out);

    // A logger without a file, which writes nothing.
    LX2FileLogger();
    ~LX2FileLogger();

    LX2FileLogger(const LX2FileLogger&) = delete;
    LX2FileLogger& operator=(const LX2FileLogger&) = delete;

    // Appends "MM-DD hh:mm:ss : message", printf-style, the message cut to 255 characters.
    // C2_OK always.
    __attribute__((format(printf, 2, 3))) LX2Status write(const char* fmt, ...);

  private:
    struct File;
    std::unique_ptr<File> mFile;
};

}  // namespace lx2
