// Loads and unloads the library. The display-metadata library that it finds by name can't be
// loaded, unless the test has loaded another one of that name before.
#include <dlfcn.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>
#include <lx2host/Mapper.h>

#include "Fixture.h"

namespace lx2::test {

using android::hardware::hidl_handle;
using android::hardware::Return;
using android::hardware::Void;
using android::hardware::graphics::mapper::V3_0::IMapper;

constexpr const char* kTag = "LX2GrallocBuffer";

class Library {
  public:
    explicit Library(const char* path) : mHandle(dlopen(path, RTLD_NOW)) {
        EXPECT_NE(mHandle, nullptr) << dlerror();
    }
    ~Library() { dlclose(mHandle); }

    std::unique_ptr<LX2PlatformBuffer> open(const C2GraphicAllocation& allocation) {
        using Create = std::unique_ptr<LX2PlatformBuffer> (*)(const native_handle_t*);
        return reinterpret_cast<Create>(dlsym(
            mHandle, "_ZN3lx217LX2PlatformBuffer6CreateEPK13native_handle"))(allocation.handle());
    }

  private:
    void* mHandle;
};

class MetadataLoaderTest : public Fixture {
  protected:
    // The warnings of a get and a set.
    std::vector<LogLine> attempt() {
        Library utils(LX2_UTILS);
        loading = log.take();
        const auto buffer = utils.open(*allocation);
        log.take();
        std::vector<std::unique_ptr<C2Param>> infos;
        const LX2Status got = buffer->getMetadata({0x42008015u}, &infos);
        const LX2Status set = buffer->setMetadata({});
        const auto lines = log.take();
        shown = dlsym(RTLD_DEFAULT, "getMetaDataAndUnmap") != nullptr;
        EXPECT_EQ(lines.size(), (got == LX2_ERROR ? 1u : 0u) + (set == LX2_ERROR ? 1u : 0u));
        return lines;
    }

    std::shared_ptr<C2GraphicAllocation> allocation =
        host::AllocateGraphic(64, 64, PixFormat::NV12, 0);
    std::vector<LogLine> loading;
    bool shown = false;  // whether any library finds the getter
};

TEST_F(MetadataLoaderTest, GoesOnWithoutWhatItMisses) {
    const LogLine noGet = Warning(kTag, "interface getMetadata in invalid");
    const LogLine noSet = Warning(kTag, "interface setMetadata in invalid");
    EXPECT_THAT(attempt(), ElementsAre(noGet, noSet));
    ASSERT_EQ(loading.size(), 1u);
    const std::string said = "LX2LXDMetadata failed to open libLxdMetaData.so: ";
    EXPECT_EQ(loading[0], Error(kTag, said + loading[0].text.substr(said.size())));
    EXPECT_THAT(loading[0].text, HasSubstr("broken_display_metadata"));
    {
        Library setOnly(LX2_SET_ONLY);
        EXPECT_THAT(attempt(), ElementsAre(noGet));
    }
    Library getOnly(LX2_GET_ONLY);
    EXPECT_THAT(attempt(), ElementsAre(noSet));
    EXPECT_TRUE(shown);
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
    Library metadata(LX2_DISPLAY_METADATA);
    host::SetMapperProvider([] { return host::MapperService(new EndingMapper); });
    const auto linesAt = [this](uint32_t level) {
        gC2LogLevel = level;
        {
            Library utils(LX2_UTILS);
            loading = log.take();
            utils.open(*allocation);
            log.take();
        }
        return log.take();
    };
    const LogLine gone = Info("Mapper", "gone");
    EXPECT_THAT(linesAt(0x01000001), ElementsAre(gone, Debug(kTag, "~LX2LXDMetadata")));
    EXPECT_THAT(loading, ElementsAre(Debug(kTag, "LX2LXDMetadata")));
    EXPECT_THAT(linesAt(0x02000003), ElementsAre(gone));
    EXPECT_THAT(loading, ElementsAre());
    host::SetMapperProvider(nullptr);
}

}  // namespace lx2::test
