// Status codes of the library family.
//
// Zero is success, positive values are numerically the Codec 2.0 c2_status_t codes and mean the
// same, and two negative values are the family's own.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2.h>

#include <cstdint>

namespace lx2 {

using LX2Status = int32_t;

// Plain numbers, so that `done ? C2_OK : LX2_ERROR` and comparisons with a c2_status_t compile
// without a warning about two enumerations.
inline constexpr LX2Status LX2_ERROR = -1;    // general failure
inline constexpr LX2Status LX2_BAD_ARG = -2;  // a required argument is missing, or a list that
                                              // needs entries is empty

// The platform's codes that this family returns or tests.
using ::C2_BAD_VALUE;
using ::C2_BLOCKING;
using ::C2_CANCELED;
using ::C2_CANNOT_DO;
using ::C2_CORRUPTED;
using ::C2_NO_INIT;
using ::C2_NO_MEMORY;
using ::C2_NOT_FOUND;
using ::C2_OK;
using ::C2_REFUSED;
using ::C2_TIMED_OUT;

}  // namespace lx2
