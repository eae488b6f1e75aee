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

// Reads a record of an imported handle, which is cleared first; tells whether there is one. The
// library's getter must be there.
template <typename Record>
bool GetRecord(void* handle, DisplayMetadataType type, Record* record) {
    *record = Record{};
    return LX2LXDMetadata::sLibrary.getMetaDataAndUnmap(handle, static_cast<int>(type), record) ==
           0;
}

// Writes a record, and logs under its name whether that succeeded. The library's setter must be
// there.
bool SetRecord(void* handle, DisplayMetadataType type, void* record, const char* name);

}  // namespace lx2
