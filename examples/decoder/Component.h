// The decoder component: access units in, C2Buffers out.
#pragma once

#include <lx2/LX2Buffer.h>
#include <lx2/LX2BufferPool.h>
#include <lx2host/Framework.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "../common/FrameOutput.h"
#include "../common/Session.h"
#include "../common/VideoColor.h"
#include "../common/VideoHardware.h"
#include "InputStream.h"
#include "Settings.h"

namespace lx2::example {

using host::Framework;
using host::Promise;

struct Statistics {
    uint64_t units = 0;
    uint64_t headerBytes = 0;  // codec-specific data split off
    uint64_t inputBytes = 0;
    uint64_t pictures = 0;  // of which a frame has to come
    uint64_t frames = 0;
    uint64_t holds = 0;
    uint64_t parked = 0;                      // offered by the surface while still held
    uint64_t recycled = 0;                    // handed out again after their hold was dropped
    uint64_t starved = 0;                     // attempts that found no buffer
    uint64_t deleted = 0;                     // buffers that the pool told were gone
    std::map<std::string, uint64_t> formats;  // frames by "WxH FORMAT"
    std::string codedColor;                   // of the last frame, as the stream says
    std::string color;                        // as settled with the defaults
    Errors errors;
    uint64_t memoryEarly = 0;  // KiB resident at frame 1000
    uint64_t memoryLate = 0;   // and at the end
};

class Component {
  public:
    // defaults: the colors where a stream is silent; of VP8 and VP9 they come before the stream's.
    // surface: where the graphic blocks come from. framework and output outlive the component.
    Component(const InputStream& input, const Settings& settings, const DefaultColor& defaults,
              std::shared_ptr<C2BlockPool> surface, Framework* framework, FrameOutput* output);
    ~Component();

    // Decodes one access unit and hands over the frames that it finishes. False when the hardware
    // can do nothing with this stream.
    bool decode(const InputUnit& unit);

    // Hands over what the hardware still has and lets all references go.
    void finish();

    const Statistics& statistics() const { return mStatistics; }

  private:
    class DeletionCounter;

    std::shared_ptr<LX2Buffer> prepareInput(const InputUnit& unit);
    void attachHeaders(const std::shared_ptr<LX2Buffer>& buffer, const uint8_t* data,
                       uint32_t size);
    std::string submit(const LX2Buffer& buffer, const InputUnit& unit);
    void drain();
    void deliverFinished();
    void compareCounts();
    void deliver(const DecodedFrame& frame);
    std::shared_ptr<LX2Buffer> allocate(const DecodedFrame& frame);
    bool fill(const std::shared_ptr<LX2Buffer>& buffer, const DecodedFrame& frame);
    Promise annotate(const std::shared_ptr<LX2Buffer>& buffer, const DecodedFrame& frame);
    void hold(const std::shared_ptr<LX2Buffer>& buffer);
    void dropOldestReference();
    void fail(const std::string& where, const std::string& what);
    void note(const char* what, const std::shared_ptr<LX2Buffer>& buffer);

    const InputStream& mInput;
    const Settings& mSettings;
    DefaultColor mDefaults;
    Framework* mFramework;
    FrameOutput* mOutput;
    VideoHardware mHardware;
    std::unique_ptr<LX2LinearBufferPool> mInputPool;
    std::unique_ptr<LX2GraphicBufferPool> mOutputPool;
    std::shared_ptr<DeletionCounter> mDeletions;
    std::deque<uint64_t> mReferences;  // held, oldest first
    Statistics mStatistics;
};

}  // namespace lx2::example
