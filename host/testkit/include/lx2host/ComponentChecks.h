// Tries a component as the platform's own tests on a device do: its states, its parameters, whole
// streams, ends of streams, flushes and drains. In lx2::testkit (-llx2testkit):
//
//     for (const auto& check : lx2::host::CheckComponent(library, streams))
//         EXPECT_THAT(check.faults, IsEmpty()) << check.name;
#pragma once

#include <lx2host/ComponentLoader.h>
#include <lx2host/VideoCore.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lx2::host {

// What a component with linear input, a decoder, is given.
struct TestStream {
    struct Unit {
        std::vector<uint8_t> bytes;
        bool config = false;    // codec configuration, and no picture
        bool keyFrame = false;  // decoding can begin here
        uint64_t timestamp = 0;
        // Of the picture that is shown at this time; none: not compared.
        std::optional<uint64_t> checksum = {};
        uint32_t bitDepth = 8;
    };
    std::string mediaType;
    std::vector<Unit> units;
};

// Of the samples, wherever they lie: the same for each format of one depth.
uint64_t ChecksumOf(const PictureView& picture);

struct ComponentCheck {
    std::string name;
    std::vector<std::string> faults;    // empty: ok
    std::vector<std::string> warnings;  // calls that took too long
};

// Runs all checks, each with a component of its own, and calls begin before and done after each.
// streams: of one media type; checks that need one are left out without. A component with graphic
// input, an encoder or a filter, is given made-up pictures. patience: a work that takes longer
// counts as lost.
std::vector<ComponentCheck> CheckComponent(
    const std::shared_ptr<ComponentLibrary>& library, const std::vector<TestStream>& streams,
    const std::function<void(const ComponentCheck&)>& done = {},
    std::chrono::milliseconds patience = std::chrono::seconds(20),
    const std::function<void(const std::string& name)>& begin = {});

}  // namespace lx2::host
