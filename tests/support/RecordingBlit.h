// A blit library for tests, put in front of the real one: it draws nothing, notes each call with
// the bytes of the record that came with it, and fails when told to.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

namespace lx2::test {

struct RecordingBlit {
    // Each without its prefix, with its numbers in hex: "Finish 4". Behind " |" a record, all of
    // it, as 64-bit words.
    std::vector<std::string> calls;
    // What the next calls of a name return, in order; 0 once used up.
    std::map<std::string, std::deque<int32_t>> statuses;
    uint32_t nextSurface = 1;
    uint64_t nextAddress = 0x1000000;
};

// Exported by the library under this name.
constexpr const char* kRecordingSymbol = "lx2RecordingBlit";
using RecordingBlitFunction = RecordingBlit* (*)();

}  // namespace lx2::test
