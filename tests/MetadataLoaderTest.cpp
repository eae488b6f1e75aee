// Loads and unloads the library. The display-metadata library that it finds by name can't be
// loaded, unless the test has loaded another one of that name before.
#include <dlfcn.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>
#include <lx2host/Mapper.h>

#include "Fixture.h"

namespace lx2::test {
namespace {

using android::hardware::hidl_handle;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::graphics::mapper::V3_0::IMapper;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kTag = "LX2GrallocBuffer";

class Library {
  public:
    explicit Library(const char* path) : mHandle(dlopen(path, RTLD_NOW)) {
        EXPECT_NE(mHandle, nullptr) << dlerror();
    }
    ~Library() { close(); }
    void close() {
        if (mHandle != nullptr)
            dlclose(mHandle);
        mHandle = nullptr;
    }

    std::unique_ptr<LX2PlatformBuffer> open(const C2GraphicAllocation& allocation) {
        using Create = std::unique_ptr<LX2PlatformBuffer> (*)(const native_handle_t*);
        const auto create = reinterpret_cast<Create>(
            dlsym(mHandle, "_ZN3lx217LX2PlatformBuffer6CreateEPK13native_handle"));
        return create != nullptr ? create(allocation.handle()) : nullptr;
    }

  private:
    void* mHandle;
};

class MetadataLoaderTest : public Fixture {
  protected:
    // The warnings of a get and a set.
    std::vector<LogLine> attempt(Library& utils) {
        const auto buffer = utils.open(*allocation);
        log.take();
        if (buffer == nullptr)
            return {};
        std::vector<std::unique_ptr<C2Param>> infos;
        const LX2Status got = buffer->getMetadata({0x42008015}, &infos);
        const LX2Status set = buffer->setMetadata({});
        const auto lines = log.take();
        EXPECT_EQ(lines.size(), (got == LX2_ERROR ? 1u : 0u) + (set == LX2_ERROR ? 1u : 0u));
        return lines;
    }

    std::shared_ptr<C2GraphicAllocation> allocation =
        host::AllocateGraphic(64, 64, PixFormat::NV12, 0);
    const LogLine noGet = Warning(kTag, "interface getMetadata in invalid");
    const LogLine noSet = Warning(kTag, "interface setMetadata in invalid");
};

TEST_F(MetadataLoaderTest, SaysWhatItMissesAndGoesOnWithoutIt) {
    Library utils(LX2_UTILS);
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].priority, ANDROID_LOG_ERROR);
    EXPECT_EQ(lines[0].tag, kTag);
    EXPECT_THAT(lines[0].text,
                AllOf(StartsWith("LX2LXDMetadata failed to open libLxdMetaData.so: "),
                      HasSubstr("broken_display_metadata")));
    EXPECT_THAT(attempt(utils), ElementsAre(noGet, noSet));
}

TEST_F(MetadataLoaderTest, EitherFunctionMayBeMissing) {
    {
        Library getOnly(LX2_GET_ONLY);
        Library utils(LX2_UTILS);
        EXPECT_THAT(attempt(utils), ElementsAre(noSet));
    }
    Library setOnly(LX2_SET_ONLY);
    Library utils(LX2_UTILS);
    EXPECT_THAT(attempt(utils), ElementsAre(noGet));
}

// A mapper service whose end shows in the log.
class EndingMapper : public IMapper {
  public:
    ~EndingMapper() override { __android_log_print(ANDROID_LOG_INFO, "Mapper", "gone"); }
    Return<void> importBuffer(const hidl_handle&, importBuffer_cb callback) override {
        callback(android::hardware::graphics::mapper::V3_0::Error::BAD_BUFFER, nullptr);
        return Void();
    }
    Return<android::hardware::graphics::mapper::V3_0::Error> freeBuffer(void*) override {
        return android::hardware::graphics::mapper::V3_0::Error::BAD_BUFFER;
    }
};

TEST_F(MetadataLoaderTest, UnloadsTheMapperBeforeTheLoader) {
    for (uint32_t level : {0x01000001u, 0x02000003u}) {
        gC2LogLevel = level;
        const bool debug = level == 0x01000001u;
        Library metadata(LX2_DISPLAY_METADATA);
        Library utils(LX2_UTILS);
        std::vector<LogLine> loading = log.take();
        host::SetMapperProvider([] { return host::MapperService(new EndingMapper); });
        utils.open(*allocation);
        host::SetMapperProvider(nullptr);
        log.take();
        utils.close();
        const std::vector<LogLine> unloading = log.take();
        const LogLine gone = Info("Mapper", "gone");
        if (debug) {
            EXPECT_THAT(loading, ElementsAre(Debug(kTag, "LX2LXDMetadata")));
            EXPECT_THAT(unloading, ElementsAre(gone, Debug(kTag, "~LX2LXDMetadata")));
        } else {
            EXPECT_THAT(loading, ElementsAre());
            EXPECT_THAT(unloading, ElementsAre(gone));
        }
    }
}

}  // namespace
}  // namespace lx2::test
