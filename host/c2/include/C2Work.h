// Stand-in for the Codec 2.0 support library's <C2Work.h>: what a client and a component pass to
// each other.
#pragma once

#include <C2Buffer.h>
#include <C2Param.h>
#include <C2ParamDef.h>

#include <list>

using c2_node_id_t = uint32_t;

// May a call block?
enum c2_blocking_t : int32_t { C2_DONT_BLOCK = 0, C2_MAY_BLOCK = 1 };

enum : uint32_t { kParamIndexWorkOrdinal = 0 };

// Identifies a work and its place in time: given by the client with the input, copied to every
// output.
struct C2WorkOrdinalStruct {
    c2_cntr64_t timestamp;      // microseconds
    c2_cntr64_t frameIndex;     // in the order of the queue
    c2_cntr64_t customOrdinal;  // the client's own

    DEFINE_AND_DESCRIBE_C2STRUCT(WorkOrdinal)
    C2FIELD(timestamp, "timestamp")
    C2FIELD(frameIndex, "frame-index")
    C2FIELD(customOrdinal, "custom-ordinal")
};

// One side of a work: a frame with its parameters.
struct C2FrameData {
    enum flags_t : uint32_t {
        FLAG_DROP_FRAME = 1 << 0,      // decode, but give no output
        FLAG_END_OF_STREAM = 1 << 1,   // the last frame; drains the component
        FLAG_DISCARD_FRAME = 1 << 2,   // only its parameters are of use
        FLAG_INCOMPLETE = 1 << 3,      // more output of this work follows
        FLAG_CORRECTED = 1 << 4,       // its input was damaged, and what was lost was made up
        FLAG_CORRUPT = 1 << 5,         // damaged
        FLAG_CODEC_CONFIG = 1u << 31,  // headers and no frame
    };

    flags_t flags = flags_t(0);
    C2WorkOrdinalStruct ordinal;
    std::vector<std::shared_ptr<C2Buffer>> buffers;
    std::vector<std::unique_ptr<C2Param>> configUpdate;  // in force from this frame on
    std::vector<C2InfoBuffer> infoBuffers;
};

// What one component of a chain does with a work.
struct C2Worklet {
    c2_node_id_t component = 0;
    std::vector<std::unique_ptr<C2Tuning>> tunings;
    std::vector<std::unique_ptr<C2SettingResult>> failures;
    C2FrameData output;
};

struct C2WorkChainInfo;

// A work: made by the client, owned by the component from queue_nb() until it comes back.
struct C2Work {
    std::shared_ptr<C2WorkChainInfo> chainInfo;
    C2FrameData input;
    std::list<std::unique_ptr<C2Worklet>> worklets;
    uint32_t workletsProcessed = 0;
    c2_status_t result = C2_OK;
};

// A work that is yet to come.
struct C2WorkOutline {
    C2WorkOrdinalStruct ordinal;
    std::vector<c2_node_id_t> chain;
};
