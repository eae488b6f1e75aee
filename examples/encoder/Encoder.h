// A video encoder: pictures in, access units out, in the order in which they come.
#pragma once

#include <lx2/LX2BufferPool.h>
#include <lx2/LX2FileDump.h>

#include <memory>
#include <string>
#include <vector>

#include "../component/Codec.h"
#include "EncoderHardware.h"

namespace lx2::example {

class Encoder final : public Codec {
  public:
    explicit Encoder(CodecHost& host) : mHost(host) {}

    c2_status_t start() override;
    void stop() override;
    void process(const Input& input) override;
    void drain(bool endsStream) override;
    void flush() override;

  private:
    c2_status_t encode(const Input& input);
    bool readSetup(LX2Buffer::Graphic* view, EncoderSetup* setup);
    bool isKeyFrameDue(float rate);
    void deliver();
    Output makeOutput(const EncodedUnit& unit);
    c2_status_t allocate(uint32_t size, std::shared_ptr<LX2Buffer>* buffer);
    uint32_t takeHeaders(const EncodedUnit& unit);

    CodecHost& mHost;

    // From start to stop.
    std::string mMediaType;
    std::unique_ptr<EncoderHardware> mHardware;
    std::unique_ptr<LX2LinearBufferPool> mPool;
    std::unique_ptr<LX2FileDump> mFrameDump, mUnitDump;

    std::vector<uint8_t> mHeaders;  // that the client has
    uint64_t mSinceKeyFrame = 0;    // 0: the next picture is one
};

}  // namespace lx2::example
