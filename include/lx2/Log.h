// The family's logging convention over __android_log_print.
//
// A source file names its module once,
//
//     constexpr lx2::LogModule kLog{"LX2Buf", lx2::LogGroup::Buffer};
//
// and then logs with LX2_LOGE, LX2_LOGW and LX2_LOGI, which always print, and with LX2_LOGD (debug)
// and LX2_LOGT (trace), which print at debug priority only when gC2LogLevel lets them. The format
// is checked by the compiler; the arguments of a message that is off are not evaluated, so it costs
// one load and a branch.
//
// Debug and trace are off until the component, or a debugger, sets the word:
//
//     lx2::gC2LogLevel = 0x3;         // both, of all modules
//     lx2::gC2LogLevel = 0x02000001;  // debug alone, of buffers, pools, dumps and converter alone
#pragma once

#include <android/log.h>
#include <lx2/Export.h>

#include <cstdint>

namespace lx2 {

// Gate of the debug and trace messages: bit 0 debug, bit 1 trace. Bits 24 to 31 filter by module
// group: when all are zero every module passes, else only those groups whose bit is set.
// Read without synchronisation; a change takes effect at the next message.
LX2_API extern uint32_t gC2LogLevel;

// Non-zero allows file loggers to be created. Read without synchronisation.
LX2_API extern uint32_t gC2FileLogLevel;

enum class LogGroup : uint32_t {
    Gralloc = 0x01000000,  // blit engine, gralloc buffer and metadata, reflected parameters
    Buffer = 0x02000000,   // buffer model, pools, file dump, stream parser, color converter
};

enum class LogDetail : uint32_t {
    Debug = 0x1,  // results and adjustments
    Trace = 0x2,  // entries and steps
};

struct LogModule {
    const char* tag;
    LogGroup group;
};

// The one module of bundles, buffers and pools.
constexpr LogModule kBufferLog{"LX2Buf", LogGroup::Buffer};

constexpr uint32_t kLogGroupFilter = 0xFF000000;

// Whether a level word lets a message of this detail and group through.
constexpr bool LogPasses(uint32_t level, LogDetail detail, LogGroup group) {
    return (level & static_cast<uint32_t>(detail)) != 0 &&
           ((level & kLogGroupFilter) == 0 || (level & static_cast<uint32_t>(group)) != 0);
}

}  // namespace lx2

#define LX2_LOG_PRINT(priority, ...) __android_log_print(priority, kLog.tag, __VA_ARGS__)
#define LX2_LOG_GATED(detail, ...)                                                                \
    do {                                                                                          \
        const uint32_t lx2Level = ::lx2::gC2LogLevel;                                             \
        if (__builtin_expect(lx2Level != 0, 0) && ::lx2::LogPasses(lx2Level, detail, kLog.group)) \
            LX2_LOG_PRINT(ANDROID_LOG_DEBUG, __VA_ARGS__);                                        \
    } while (0)

#define LX2_LOGE(...) LX2_LOG_PRINT(ANDROID_LOG_ERROR, __VA_ARGS__)
#define LX2_LOGW(...) LX2_LOG_PRINT(ANDROID_LOG_WARN, __VA_ARGS__)
#define LX2_LOGI(...) LX2_LOG_PRINT(ANDROID_LOG_INFO, __VA_ARGS__)
#define LX2_LOGD(...) LX2_LOG_GATED(::lx2::LogDetail::Debug, __VA_ARGS__)
#define LX2_LOGT(...) LX2_LOG_GATED(::lx2::LogDetail::Trace, __VA_ARGS__)
