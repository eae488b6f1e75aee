// Stand-in for the Codec 2.0 support library's <C2ParamInternal.h>: what the framework's own code
// reads of descriptors and fields.
#pragma once

#include <C2Param.h>

struct _C2ParamInspector {
    static uint32_t GetOffset(const C2FieldDescriptor& field) { return field._mFieldId._mOffset; }
    static uint32_t GetSize(const C2FieldDescriptor& field) { return field._mFieldId._mSize; }
    static uint32_t GetIndex(const C2ParamField& field) { return field._mIndex; }
    static uint32_t GetOffset(const C2ParamField& field) { return field._mFieldId._mOffset; }
    static uint32_t GetSize(const C2ParamField& field) { return field._mFieldId._mSize; }
};
