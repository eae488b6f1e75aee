#include <lx2/LX2FileDump.h>
#include <lx2/Log.h>

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <new>

namespace lx2 {

namespace {

constexpr LogModule kLog{"FileLog", LogGroup::Buffer};

// Of a message, the terminating zero included.
constexpr size_t kMessageSize = 256;

}  // namespace

struct LX2FileLogger::File {
    explicit File(FILE* opened) : file(opened) {}
    ~File() {
        if (file != nullptr)
            fclose(file);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    FILE* file;
};

LX2FileLogger::LX2FileLogger() = default;
LX2FileLogger::~LX2FileLogger() = default;

LX2Status LX2FileLogger::Create(const std::string& path, std::unique_ptr<LX2FileLogger>* out) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    out->reset();
    if (gC2FileLogLevel == 0)
        return C2_CANNOT_DO;
    FILE* opened = fopen(path.c_str(), "a");
    if (opened == nullptr) {
        LX2_LOGE("Failed to open log file : %s", path.c_str());
        return LX2_ERROR;
    }
    std::unique_ptr<File> file(new (std::nothrow) File(opened));
    if (file == nullptr)
        fclose(opened);
    else
        out->reset(new (std::nothrow) LX2FileLogger);
    if (*out == nullptr) {
        LX2_LOGE("No memory for the logger of log file : %s", path.c_str());
        return C2_NO_MEMORY;
    }
    (*out)->mFile = std::move(file);
    return C2_OK;
}

LX2Status LX2FileLogger::write(const char* fmt, ...) {
    if (mFile == nullptr || mFile->file == nullptr || fmt == nullptr)
        return C2_OK;
    char message[kMessageSize] = {};
    va_list args;
    va_start(args, fmt);
    vsnprintf(message, sizeof(message), fmt, args);
    va_end(args);
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    fprintf(mFile->file, "%02d-%02d %02d:%02d:%02d : %s\n", local.tm_mon + 1, local.tm_mday,
            local.tm_hour, local.tm_min, local.tm_sec, message);
    fflush(mFile->file);
    return C2_OK;
}

}  // namespace lx2
