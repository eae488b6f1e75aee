// What a process holds open of the platform: descriptors, buffer mappings, imported handles and
// cache brackets. A test takes a count before its component starts and asks at the end what is
// left:
//
//     const lx2::host::OpenResources before;
//     ... the component's whole life ...
//     EXPECT_TRUE(before.leftOpen().empty());
//
// Counts are the whole process's: other threads hold nothing of their own meanwhile.
#pragma once

#include <lx2host/DmaBuf.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace lx2::host {

class LX2_HOST_API OpenResources {
  public:
    // Counts what is open now.
    OpenResources();

    // One line for each kind of which more is open now than when this object counted, which says of
    // descriptors and mappings what the first of them are: path, or of a buffer the allocation's
    // id, format, size and the thread that made it. Empty when all is closed.
    std::vector<std::string> leftOpen() const;

  private:
    std::set<std::string> mDescriptors;
    std::set<std::string> mMappings;
    uint64_t mImports;
    uint64_t mBrackets;
};

}  // namespace lx2::host
