#include "FakeDisplayMetadata.h"

#include <lx2host/DisplayMetadata.h>

namespace lx2::test {

FakeDisplayMetadata& DisplayMetadataCalls() {
    static FakeDisplayMetadata calls;
    return calls;
}

}  // namespace lx2::test

int getMetaDataAndUnmap(void* handle, int type, void* data) {
    return lx2::test::DisplayMetadataCalls().get(handle, type, data);
}

int setMetaDataAndUnmap(void* handle, int type, void* data) {
    return lx2::test::DisplayMetadataCalls().set(handle, type, data);
}
