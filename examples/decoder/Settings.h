// What a user asks of the example.
#pragma once

#include <cstddef>
#include <string>

#include "../common/Arguments.h"

namespace lx2::example {

struct Settings : CommonSettings {
    size_t slots = 10;  // of the surface

    // The component's own, which a user has no reason to change.
    size_t references = 4;      // frames that the decoder holds
    size_t frameworkDepth = 3;  // buffers that the framework keeps
};

// False, with *error in one line, for arguments that it can't take.
bool ParseArguments(int argc, char** argv, Settings* settings, std::string* error);

extern const char* const kUsage;

}  // namespace lx2::example
