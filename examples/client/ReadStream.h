// A clip as the checks of components take it.
#pragma once

#include <lx2host/ComponentChecks.h>

#include <cstddef>
#include <optional>
#include <string>

namespace lx2::example {

// The first units of the file's video. The parameter sets before the first are one of their own.
// libavcodec tells their pictures, where all decoders have to make the same.
// Nothing, with one line in *error, when there is nothing to read.
std::optional<host::TestStream> ReadStream(const std::string& path, size_t most,
                                           std::string* error);

}  // namespace lx2::example
