// Each fault of a component is found by the checks, and named.
#include <lx2host/ComponentChecks.h>

#include <cstdlib>

#include "Fixture.h"
#include "client/ReadStream.h"

namespace lx2::test {

namespace {

struct Fault {
    const char* fault;
    const char* said;  // in a fault, or in a warning
};
constexpr Fault kFaults[] = {
    {"work is lost", "did not come back"},
    {"work comes twice", "came back, and is not out"},
    {"ordinal is wrong", "ordinal is not the input's"},
    {"time stamp is wrong", "ordinal is not the input's"},
    {"is not processed", "worklets"},
    {"input is kept", "came back with its input buffer"},
    {"fails with a buffer", "a failed work has a buffer"},
    {"end is lost", "end of the stream"},
    {"picture is another's", "the picture is not the stream's"},
    {"size is not announced", "announced was"},
    {"buffer is kept", "kept after the stop"},
    {"buffer stays mapped", "still mapped"},
    {"callback after stop", "after"},
    {"last frame is lost", "frames in place of"},
    {"frames to drop come", "frames in place of"},
    {"list is not emptied", "leaves it in the list"},
    {"component is kept", "is not let go"},
    {"deleter is not used", "a deleter is not used"},
    {"pool is not used", "not from the pool"},
    {"update is not kept", "raw.pixel-format is not what"},
    {"flush keeps work", "did not come back"},
    {"drain does nothing", "did not come back"},
    {"stop twice is taken", "stop"},
    {"reset fails", "reset"},
    {"reset keeps values", "has another value"},
    {"release is refused", "release"},
    {"start is slow", "start"},
};

class ComponentChecksTest : public Fixture {
  protected:
    // The faults of all checks, in lines; with a fault the warnings too.
    std::string check(const char* fault, const char* component = LX2_FAULTY) {
        setenv("LX2_FAULT", fault, 1);
        std::string error, seen;
        // It holds a change of size.
        static const auto stream =
            *example::ReadStream(LX2_SAMPLES_DIR "/avc_resize.264", 30, &error);
        for (const auto& unit : stream.units)
            EXPECT_NE(unit.config, unit.checksum.has_value()) << unit.timestamp;
        const auto library = host::ComponentLibrary::Open(component, &error);
        EXPECT_NE(library, nullptr) << error;
        host::CheckComponent(
            library, {stream},
            [&](const host::ComponentCheck& check) {
                for (const std::string& line : check.faults)
                    seen += check.name + ": " + line + "\n";
                for (const std::string& line : check.warnings)
                    seen += *fault != '\0' ? line + "\n" : "";
            },
            std::chrono::milliseconds(*fault != '\0' ? 60 : 20000));
        log.take();
        return seen;
    }
};

TEST_F(ComponentChecksTest, EachFaultIsFoundAndNothingElse) {
    EXPECT_EQ(check(""), "");
    for (const Fault& row : kFaults)
        EXPECT_THAT(check(row.fault), HasSubstr(row.said)) << row.fault;
    EXPECT_EQ(check("", LX2_ENCODER),
              "a component for the stream: takes video/raw, not video/avc\n");
}

}  // namespace

}  // namespace lx2::test
