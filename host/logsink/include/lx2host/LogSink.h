// Where a workstation's log goes.
#pragma once

#include <functional>

namespace lx2::host {

// Receives each message, of at most 1023 characters. Called from any thread under a lock, so by one
// at a time, and also while libraries are unloaded and the process ends. It must neither log nor
// set a sink. What it throws goes no further; that message is printed to standard error.
using LogSink = std::function<void(int priority, const char* tag, const char* text)>;

// Sends the log to sink in place of standard error; an empty sink brings standard error back. Once
// it returns, the former sink is not called any more.
__attribute__((visibility("default"))) void SetLogSink(LogSink sink);

}  // namespace lx2::host
