#include <base/FrameGeometry.h>
#include <base/LogModules.h>
#include <lx2/PixFormat.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "FileDumpImpl.h"

namespace lx2 {

constexpr LogModule kLog = kFileDumpLog;

namespace {

// Ends in a separator, and the names begin with another: the doubled one is part of every path.
constexpr const char* kDirectory = "/data/vendor/media/lx2/";

struct MimeRow {
    const char* mime;
    const char* extension;
    char ivfVersion = 0;
};

constexpr MimeRow kExtensions[] = {
    {"video/avc", "264"},
    {"video/hevc", "265"},
    {"video/x-vnd.on2.vp8", "ivf", '8'},
    {"video/x-vnd.on2.vp9", "ivf", '9'},
    {"video/mpeg2", "ps"},
    {"video/mp4v-es", "m4v"},
    {"image/vnd.android.heic", "heic"},
    {"video/raw", "yuv"},
};

const MimeRow& RowOf(const std::string& mime) {
    static constexpr MimeRow kOther = {"", "bin"};
    for (const MimeRow& row : kExtensions) {
        if (mime == row.mime)
            return row;
    }
    return kOther;
}

template <size_t N>
void FormatNow(char (&out)[N]) {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    snprintf(out, N, "%02d%02d%02d_%02d%02d%02d", local.tm_year + 1900, (local.tm_mon + 1) % 13,
             local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
}

bool IsGraphic(const LX2Buffer& buffer) {
    return buffer.type() == C2BufferData::GRAPHIC;
}

}  // namespace

const char* LX2FileDump::Impl::extForMime(const std::string& mime) {
    return RowOf(mime).extension;
}

LX2FileDump::Impl::Impl(const std::string& mime, uint32_t id, bool generateName,
                        const std::string& prefix, const std::string& path, bool forceLinear)
    : mPrefix(prefix),
      mId(id),
      mGenerateName(generateName),
      mExtension(extForMime(mime)),
      mIvfVersion(RowOf(mime).ivfVersion),
      mForceLinear(forceLinear) {
    FormatNow(mTimeStamp);
    setPath("%s", path.c_str());
    if (mGenerateName)
        LX2_LOGI("Created File dump(%s_%s) for mime(%s)", mPrefix.c_str(), mTimeStamp,
                 mime.c_str());
    else
        LX2_LOGI("Created File dump: %s", path.c_str());
}

void LX2FileDump::Impl::generateFileName() {
    if (!mGenerateName)
        return;
    const int id = static_cast<int>(mId);
    if (!mGraphic) {
        setPath("%s/%s_%d_%s.%s", kDirectory, mTimeStamp, id, mPrefix.c_str(), mExtension.c_str());
        return;
    }
    mExtension = geometry::IsRgb(mSourceFormat) ? "rgb" : "yuv";
    setPath("%s/%s_%d_%s_%u_x_%u_%s_%u.%s", kDirectory, mTimeStamp, id, mPrefix.c_str(), mWidth,
            mHeight, PixFormat::Str(mWrittenFormat), mFrameCount, mExtension.c_str());
}

void LX2FileDump::Impl::setPath(const char* format, ...) {
    va_list args;
    va_start(args, format);
    vsnprintf(mFilePath, sizeof(mFilePath), format, args);
    va_end(args);
}

LX2Status LX2FileDump::Impl::openFile() {
    if (mFile.isOpen()) {
        LX2_LOGW("File already open !");
        return C2_REFUSED;
    }
    if (!mFile.open(mFilePath)) {
        LX2_LOGE("Failed to open %s for writing", mFilePath);
        return LX2_ERROR;
    }
    LX2_LOGI("Opened file %s for writing", mFilePath);
    return C2_OK;
}

LX2Status LX2FileDump::Impl::closeFile() {
    mFile.close();
    return C2_OK;
}

LX2Status LX2FileDump::Impl::write(const std::shared_ptr<C2Buffer>& buffer) {
    if (buffer == nullptr)
        return LX2_BAD_ARG;
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
    if (IsGraphic(*wrapped))
        wrapped->graphic()->setAllocSize(assumedSize(*wrapped->graphic()));
    return write(wrapped);
}

LX2Status LX2FileDump::Impl::write(const std::shared_ptr<LX2Buffer>& buffer) {
    if (buffer == nullptr) {
        LX2_LOGW("Invalid buffer");
        return LX2_ERROR;
    }
    const bool graphic = IsGraphic(*buffer);
    if (mFrameCount == 0)
        mGraphic = graphic;
    if (graphic != mGraphic) {
        LX2_LOGW("Incompatible buffer");
        return LX2_ERROR;
    }
    const LX2Status status = graphic ? writeGraphic(buffer->graphic()) : writeLinear(*buffer);
    if (const int error = mFile.flush(); error != 0)
        LX2_LOGE("Failed to write all of %s : %s", mFilePath, strerror(error));
    return status;
}

LX2Status LX2FileDump::Create(const std::string& mime, uint32_t id, const std::string& prefix,
                              std::unique_ptr<LX2FileDump>* out, bool forceLinear) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    *out = std::make_unique<LX2FileDump>(mime, id, true, prefix, "", forceLinear);
    return C2_OK;
}

LX2Status LX2FileDump::Create(const std::string& mime, const std::string& path,
                              std::unique_ptr<LX2FileDump>* out) {
    return Create(mime, path, out, false);
}

LX2Status LX2FileDump::Create(const std::string& mime, const std::string& path,
                              std::unique_ptr<LX2FileDump>* out, bool forceLinear) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    *out = std::make_unique<LX2FileDump>(mime, 0, false, "", path, forceLinear);
    return C2_OK;
}

LX2FileDump::LX2FileDump(const std::string& mime, uint32_t id, bool generateName,
                         const std::string& prefix, const std::string& path, bool forceLinear)
    : mImpl(std::make_shared<Impl>(mime, id, generateName, prefix, path, forceLinear)) {}

LX2FileDump::~LX2FileDump() = default;
LX2FileDump::LX2FileDump(LX2FileDump&&) noexcept = default;
LX2FileDump& LX2FileDump::operator=(LX2FileDump&&) noexcept = default;

LX2Status LX2FileDump::write(std::shared_ptr<LX2Buffer> buffer) {
    return mImpl != nullptr ? mImpl->write(buffer) : LX2Status{C2_NO_INIT};
}

LX2Status LX2FileDump::write(std::shared_ptr<C2Buffer> buffer) {
    return mImpl != nullptr ? mImpl->write(buffer) : LX2Status{C2_NO_INIT};
}

std::string LX2FileDump::path() const {
    return mImpl != nullptr ? mImpl->filePath() : "";
}

}  // namespace lx2
