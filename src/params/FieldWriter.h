// Writes one value into a binary parameter.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Param.h>
#include <lx2/LX2Status.h>

#include <cstddef>
#include <memory>

namespace lx2 {

// Writes size bytes of value into the parameter that *slot holds. baseOffset: of the structure that
// holds the field, in the parameter's body. A field of fixed extent is written where it is. A field
// of extent 0 ends the parameter, which grows (a new object in *slot) or shrinks (in place) to the
// value's end.
// C2_OK; C2_CORRUPTED for a value that would end outside the parameter, or outside any;
// C2_NO_MEMORY when it can't grow. The parameter is then as it was.
LX2Status WriteField(std::unique_ptr<C2Param>* slot, const C2FieldDescriptor& field,
                     size_t baseOffset, const void* value, size_t size);

}  // namespace lx2
