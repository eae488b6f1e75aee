// Decodes what an encoder made and says how near it is to what went in.
#pragma once

#include <lx2host/VideoCore.h>

#include <cstdint>
#include <deque>
#include <string>

#include "../common/VideoHardware.h"

namespace lx2::example {

class Quality {
  public:
    explicit Quality(Codec codec) : mDecoder(codec) {}

    // A frame as it went in.
    void expect(host::Frame frame) { mExpected.push_back(std::move(frame)); }

    // A piece of the stream: configuration goes before the unit that follows it.
    void take(const uint8_t* data, size_t size, bool config);

    // Decodes what is left.
    void finish();

    uint64_t frames() const { return mFrames; }

    // Of all samples, in dB; 100 of equal ones.
    double psnr() const;

    // What went wrong first; empty if nothing did.
    const std::string& problem() const { return mProblem; }

  private:
    void compareFinished();
    void compare(const host::PictureView& picture, const host::Frame& expected);

    VideoHardware mDecoder;
    std::string mPending;  // configuration, bytes
    std::deque<host::Frame> mExpected;
    uint64_t mFrames = 0;
    uint64_t mSamples = 0;
    double mSquares = 0;
    std::string mProblem;
};

}  // namespace lx2::example
