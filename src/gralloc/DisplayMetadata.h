// The loader of the display-metadata library.
#pragma once

#include <lx2device/DisplayMetadataLibrary.h>

namespace lx2 {

// The library, from load to unload of this one. A function that is not to be had is null.
class LX2LXDMetadata {
  public:
    LX2LXDMetadata();
    ~LX2LXDMetadata();

    LX2LXDMetadata(const LX2LXDMetadata&) = delete;
    LX2LXDMetadata& operator=(const LX2LXDMetadata&) = delete;

    DisplayMetadataFunction getMetaDataAndUnmap = nullptr;
    DisplayMetadataFunction setMetaDataAndUnmap = nullptr;

    // The one instance. Defined beside the mapper helper's static members, which go before it.
    static LX2LXDMetadata sLibrary;

  private:
    void* mHandle = nullptr;
};

}  // namespace lx2
