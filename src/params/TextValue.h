// Reads a text as the value of a field.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Param.h>
#include <lx2/LX2Status.h>

#include <string>

namespace lx2 {

// Puts the bytes of the value, a text's with its terminating zero, into *bytes.
// C2_OK; C2_BAD_VALUE when the whole text is no value of the field's type and extent; C2_CANNOT_DO
// for a type that no text sets.
LX2Status ReadText(const C2FieldDescriptor& field, const std::string& text, std::string* bytes);

}  // namespace lx2
