// What a framework relies on of a component's output buffers.
#pragma once

#include <C2Config.h>
#include <lx2host/Client.h>

#include <string>
#include <vector>

namespace lx2::host {

// Follows what a component announces, and compares its frames with it.
class OutputChecks {
  public:
    // What the component's interface says before the first output.
    explicit OutputChecks(const Client& client);

    // The faults of one output, in the order in which outputs come.
    std::vector<std::string> check(const Client::Output& output);

    // Time begins anew: after a flush, or when a stream has ended.
    void restart() { mFrames = 0; }

  private:
    void follow(const Client::Output& output);
    void checkFrame(const Client::Output& output, std::vector<std::string>* faults);

    std::optional<C2StreamPictureSizeInfo::output> mSize;
    std::optional<C2StreamCropRectInfo::output> mCrop;
    std::optional<C2StreamColorAspectsInfo::output> mAspects;
    std::optional<C2StreamHdrStaticInfo::output> mHdr;
    uint64_t mFrames = 0;
    uint64_t mLastTimestamp = 0;
};

}  // namespace lx2::host
