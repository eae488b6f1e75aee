// A video decoder: access units in, C2Buffers of the client's pool out.
#pragma once

#include <lx2/LX2Buffer.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2/LX2FileDump.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "../component/Codec.h"
#include "DecoderHardware.h"

namespace lx2::example {

class Decoder final : public Codec {
  public:
    explicit Decoder(CodecHost& host) : mHost(host) {}

    c2_status_t start() override;
    void stop() override;
    void process(const Input& input) override;
    void drain(bool endsStream) override;
    void flush() override;

  private:
    // A unit that the hardware has.
    struct Unit {
        bool dropped = false;  // no output is wanted
        uint64_t timestamp = 0;
    };

    void submit(const Input& input, const LX2Buffer::Bytes& bytes);
    void announceDelay(uint64_t key);
    void deliver();
    Output makeOutput(const DecodedUnit& decoded);
    c2_status_t allocate(const DecodedUnit& decoded, std::shared_ptr<LX2Buffer>* buffer);
    c2_status_t fill(const DecodedUnit& decoded, LX2Buffer::Graphic* target);
    void describe(const DecodedUnit& decoded, uint32_t format);
    void hold(const std::shared_ptr<LX2Buffer>& buffer);
    void dropOldestReference();
    void update(const std::vector<C2Param*>& params);
    void openDumps(const std::string& folder);

    CodecHost& mHost;

    // From start to stop.
    std::string mMediaType;
    uint32_t mWantedFormat = 0;
    uint32_t mMostReferences = 0;
    C2StreamHdrStaticInfo::output mDefaultHdr;
    std::unique_ptr<DecoderHardware> mHardware;
    std::unique_ptr<LX2GraphicBufferPool> mPool;         // the client's
    std::unique_ptr<LX2GraphicBufferPool> mScratchPool;  // for pictures that are converted
    std::unique_ptr<LX2ColorConverter> mConverter;
    std::unique_ptr<LX2FileDump> mUnitDump;
    std::unique_ptr<LX2FileDump> mFrameDump;

    std::vector<uint8_t> mHeaders;  // parameter sets
    bool mHeadersDue = false;       // they go before the next unit
    std::map<uint64_t, Unit> mUnits;
    std::deque<uint64_t> mReferences;  // held, oldest first
    uint64_t mPictures = 0;
    uint32_t mDelay = 0;

    // What the last picture was like, what its buffer's infos were, and what the client is to be
    // told with the next output.
    DecodedUnit mShape;
    std::vector<std::shared_ptr<C2Info>> mInfos;
};

}  // namespace lx2::example
