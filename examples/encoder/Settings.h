// What a user asks of the example.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "../common/Arguments.h"
#include "../common/VideoHardware.h"
#include "RawVideo.h"

namespace lx2::example {

struct Settings : CommonSettings {
    Codec codec = Codec::Avc;
    uint32_t format = 0;  // of the buffers: a PixFormat value
    RawShape shape;
    bool hdr = false;                                       // attach HDR10 metadata
    std::vector<std::pair<uint64_t, std::string>> changes;  // before a frame: name=value
};

// False, with *error in one line, for arguments that it can't take.
bool ParseArguments(int argc, char** argv, Settings* settings, std::string* error);

extern const char* const kUsage;

}  // namespace lx2::example
