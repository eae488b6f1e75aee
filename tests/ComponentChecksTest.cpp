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
    {"size is not announced", "announced was"},
    {"buffer is kept", "kept after the stop"},
    {"buffer stays mapped", "still mapped"},
    {"callback after stop", "after"},
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
    // The faults and warnings of all checks, in lines.
    std::string check(const char* fault) {
        setenv("LX2_FAULT", fault, 1);
        std::string error, seen;
        // It holds a change of size.
        static const auto stream =
            *example::ReadStream(LX2_SAMPLES_DIR "/avc_resize.264", 30, &error);
        const auto library = host::ComponentLibrary::Open(LX2_FAULTY, &error);
        EXPECT_NE(library, nullptr) << error;
        host::CheckComponent(
            library, {stream},
            [&seen](const host::ComponentCheck& check) {
                for (const auto* lines : {&check.faults, &check.warnings})
                    for (const std::string& line : *lines)
                        seen += check.name + ": " + line + "\n";
            },
            std::chrono::milliseconds(*fault != '\0' ? 60 : 20000));
        log.take();
        return seen;
    }
};

TEST_F(ComponentChecksTest, EachFaultIsFoundAndNothingElse) {
    const std::string nothing = check("");
    EXPECT_EQ(nothing.find("failed"), std::string::npos) << nothing;
    for (const Fault& row : kFaults)
        EXPECT_THAT(check(row.fault), HasSubstr(row.said)) << row.fault;
}

}  // namespace

}  // namespace lx2::test
