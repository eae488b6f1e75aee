// A display-metadata library under a test's control.
#pragma once

#include <functional>

namespace lx2::test {

struct FakeDisplayMetadata {
    using Call = std::function<int(void* handle, int type, void* data)>;
    Call get;
    Call set;
};

// What the library's two functions do.
__attribute__((visibility("default"))) FakeDisplayMetadata& DisplayMetadataCalls();

}  // namespace lx2::test
