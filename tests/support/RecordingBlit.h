// A blit library for tests, put in front of the real one: it draws nothing, notes each call with
// the bytes of the record that came with it, and fails when told to. It is the GPU utility library
// too, under that one's name and with a record of its own.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace lx2::test {

struct RecordingBlit {
    ~RecordingBlit() { onClose(); }

    // Each without its prefix, with its numbers in hex: "Finish 4". Behind " |" a record, all of
    // it, as 64-bit words.
    std::vector<std::string> calls;
    // What the next calls of a name return, in order; 0 once used up.
    std::map<std::string, std::deque<int32_t>> statuses;
    uint32_t nextSurface = 1;
    uint64_t nextAddress = 0x1000000;
    std::pair<int32_t, int32_t> aligned = {128, 49};  // the utility's answer
    std::function<void()> onClose = [] {};
};

// Exported by the library under this name.
constexpr const char* kRecordingSymbol = "lx2RecordingBlit";
using RecordingBlitFunction = RecordingBlit* (*)();

}  // namespace lx2::test
