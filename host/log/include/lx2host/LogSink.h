// Where the stand-in log goes.
#pragma once

#include <functional>

namespace lx2::host {

// Receives each message. May be called from any thread, by one at a time.
using LogSink = std::function<void(int priority, const char* tag, const char* text)>;

// Sends the log to sink in place of standard error; an empty sink brings standard error back.
__attribute__((visibility("default"))) void SetLogSink(LogSink sink);

}  // namespace lx2::host
