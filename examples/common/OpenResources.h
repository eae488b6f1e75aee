// What a process holds open of the platform: descriptors, buffer mappings, imported handles and
// cache brackets. A component takes a count before it starts and asks at its end what is left.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

class OpenResources {
  public:
    // Counts what is open now.
    OpenResources();

    // One line for each kind of which more is open now than when this object counted; empty when
    // all is closed.
    std::vector<std::string> leftOpen() const;

  private:
    uint64_t mDescriptors;
    uint64_t mMappings;
    uint64_t mImports;
    uint64_t mBrackets;
};

}  // namespace lx2::example
