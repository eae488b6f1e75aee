// The encoder component: C2Buffers with frames in, access units in linear buffers out.
#pragma once

#include <C2Buffer.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2BufferPool.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "../common/ComponentParams.h"
#include "../common/FrameOutput.h"
#include "../common/Session.h"
#include "EncoderHardware.h"

namespace lx2::example {

struct Statistics {
    uint64_t frames = 0;
    uint64_t units = 0;
    uint64_t keyFrames = 0;
    uint64_t bytes = 0;
    uint64_t headerBytes = 0;  // codec configuration split off
    uint64_t headerBuffers = 0;
    Errors errors;
};

// What the parameters ask of the hardware. Empty on success, else what is wrong in one line.
std::string ReadTuning(const ComponentParams& parameters, Codec codec, Tuning* tuning);

class Component {
  public:
    // Receives each finished buffer: codec configuration, flagged so, and access units.
    using Client = std::function<void(const std::shared_ptr<LX2Buffer>& buffer)>;

    // frames: how many will come, 0 when nobody knows. output outlives the component.
    Component(Codec codec, uint32_t rate, uint64_t frames, bool verbose, FrameOutput* output,
              Client client);

    bool isReady() const { return mHardware.isReady(); }

    // For the frames from the next on.
    void tune(const Tuning& tuning) { mHardware.tune(tuning); }

    void encode(const std::shared_ptr<C2Buffer>& frame);
    void finish();

    // What the hardware read of the last frame's metadata.
    const CodedColor& color() const { return mHardware.color(); }
    const Statistics& statistics() const { return mStatistics; }

  private:
    void fail(const std::string& where, const std::string& what);
    void note(const char* what, const std::shared_ptr<LX2Buffer>& buffer);
    void deliverFinished();
    void deliver(const EncodedUnit& unit, uint32_t from, uint32_t size, uint64_t flags);

    Codec mCodec;
    uint32_t mRate;
    uint64_t mLast;
    bool mVerbose;
    FrameOutput* mOutput;
    Client mClient;
    EncoderHardware mHardware;
    std::unique_ptr<LX2LinearBufferPool> mPool;
    Statistics mStatistics;
};

}  // namespace lx2::example
