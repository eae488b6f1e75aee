// The parameters of the decoder.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Config.h>
#include <C2ParamDef.h>
#include <util/C2InterfaceHelper.h>

#include <cstdint>
#include <memory>

namespace lx2::example {

enum : uint32_t {
    kParamIndexDecoderHardware = C2Param::TYPE_INDEX_VENDOR_START + 0x0100,
    kParamIndexDecoder,
    kParamIndexDecoderDump,
};

struct C2DecoderHardwareStruct {
    uint32_t threads = 1;
    DEFINE_C2STRUCT(DecoderHardware)
} C2_PACK;

struct C2DecoderStruct {
    uint32_t references = 4;  // pictures whose buffers the decoder holds, to predict from
    C2DecoderHardwareStruct hardware;
    DEFINE_C2STRUCT(Decoder)
} C2_PACK;
using C2DecoderTuning = C2GlobalParam<C2Tuning, C2DecoderStruct>;

// The folder that dumps of the stream and the frames go to; empty for none.
using C2DecoderDumpSetting = C2GlobalParam<C2Setting, C2StringValue, kParamIndexDecoderDump>;

std::shared_ptr<C2InterfaceHelper> MakeDecoderParams(
    const std::shared_ptr<C2ReflectorHelper>& reflector);

}  // namespace lx2::example
