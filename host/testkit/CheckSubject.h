// A component under one of the checks, its client, and what the check finds.
#pragma once

#include <C2Component.h>
#include <lx2host/Client.h>
#include <lx2host/ComponentChecks.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace lx2::host {

// Those of all parameters that have one, by name.
std::map<std::string, std::unique_ptr<C2Param>> ValuesOf(const C2ComponentInterface& interface);

class CheckSubject {
  public:
    using Unit = TestStream::Unit;
    using milliseconds = std::chrono::milliseconds;

    // patience becomes shorter when work is lost.
    CheckSubject(std::shared_ptr<C2Component> component, const std::string& mediaType,
                 milliseconds* patience, ComponentCheck* check);
    // Stops and releases the component.
    ~CheckSubject();

    Client& client() { return mClient; }
    bool takesPictures() const { return mTakesPictures; }

    void fail(const std::string& what);
    void expect(const std::string& what, bool good);
    void expect(const std::string& what, c2_status_t status, c2_status_t wanted);

    // For its output, where that is pictures.
    void useSurface(size_t slots);
    void setSize(uint32_t width, uint32_t height);  // of the pictures that it is given

    void start() { expect("start", mClient.start(), C2_OK); }
    // Queues one unit or picture, behind those queued before; without one an empty work.
    void queue(const Unit* unit, uint32_t flags = 0);
    void queue(const std::vector<Unit>& units, size_t from, size_t to, uint32_t lastFlags = 0);
    // Takes one output; false when none comes.
    bool collect(milliseconds patience);
    // Takes all outputs that come; all works have to.
    void finish() { finish(*mPatience); }
    void flush();

    // A query answers what the outputs said last.
    void expectUpdatesKept();

    uint64_t frames = 0;
    bool fromSurface = true;        // what came out of it
    bool comparesPictures = false;  // beyond a flush a decoder may lack what they refer to

  private:
    void finish(milliseconds patience);
    void comparePicture(const Client::Output& output);

    ComponentCheck* const mCheck;
    milliseconds* const mPatience;
    Client mClient;
    std::shared_ptr<SlotGraphicPool> mSurface;
    bool mTakesPictures = false;
    bool mLosesWork = false;
    uint32_t mWidth = 320, mHeight = 240;
    uint32_t mPictures = 0;
    std::vector<std::weak_ptr<C2Buffer>> mOutputs;
    std::map<uint32_t, std::shared_ptr<C2Param>> mUpdates;  // the last of each
    std::map<uint64_t, const Unit*> mCoded;                 // by time, those whose picture is known
    uint64_t mNextTime = 0;
    uint64_t mBase = 0;
};

}  // namespace lx2::host
