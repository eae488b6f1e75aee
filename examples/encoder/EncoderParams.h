// The parameters of the encoder.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Config.h>
#include <C2ParamDef.h>
#include <util/C2InterfaceHelper.h>

#include <cstdint>
#include <memory>

namespace lx2::example {

enum : uint32_t {
    kParamIndexEncoder = C2Param::TYPE_INDEX_VENDOR_START + 0x0110,
    kParamIndexEncoderDump,
};

struct C2EncoderStruct {
    uint32_t qpMin = 0;  // quantizer steps that the encoder may use
    uint32_t qpMax = 51;
    DEFINE_C2STRUCT(Encoder)
} C2_PACK;
using C2EncoderTuning = C2GlobalParam<C2Tuning, C2EncoderStruct>;

// The folder that dumps of the frames and the stream go to; empty for none.
using C2EncoderDumpSetting = C2GlobalParam<C2Setting, C2StringValue, kParamIndexEncoderDump>;

std::shared_ptr<C2InterfaceHelper> MakeEncoderParams(
    const std::shared_ptr<C2ReflectorHelper>& reflector);

}  // namespace lx2::example
