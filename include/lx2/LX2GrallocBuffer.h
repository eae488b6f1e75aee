// Graphic buffers of the platform: the handle behind a graphic view, what it says of the buffer,
// and the metadata that the display stack keeps with it.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Buffer.h>
#include <C2Config.h>
#include <C2Param.h>
#include <lx2/Export.h>
#include <lx2/LX2Status.h>
#include <lx2/LXDColorMetaData.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace android::hardware::graphics::mapper::V3_0 {
struct IMapper;
}

namespace lx2 {

// What the platform knows of one graphic buffer. Accessors of an object whose handle could not be
// imported give the invalid value named with each; they never log.
class LX2_API LX2PlatformBuffer {
  public:
    // Never null. A handle that can't be imported is logged and gives an object whose accessors
    // return their invalid values. The handle stays the caller's.
    static std::unique_ptr<LX2PlatformBuffer> Create(const native_handle_t* handle);

    virtual ~LX2PlatformBuffer();

    virtual int fd() = 0;                // of the pixels, owned by this object; -1
    virtual uint32_t allocSize() = 0;    // bytes; 0
    virtual uint32_t offset() = 0;       // of the pixels in the allocation, bytes; all ones
    virtual uint32_t width() = 0;        // as requested, pixels; all ones
    virtual uint32_t height() = 0;       // as requested, rows; all ones
    virtual uint32_t stride() = 0;       // aligned width, pixels; all ones
    virtual uint32_t sliceHeight() = 0;  // aligned height, rows; all ones
    virtual uint32_t format() = 0;       // a PixFormat value; 0
    virtual uint32_t flags() = 0;        // usage flags of the allocation; all ones
    virtual uint64_t id() = 0;           // of the allocation, the same in every import; all ones

    // Fetches the requested kinds of metadata as C2 parameters, appended to out: the AV timestamp
    // (type 0x42008015) and the color aspects (0xC2001809). Stream ids are ignored, and so are
    // other types. What can't be fetched is logged.
    // C2_OK when at least one was appended; LX2_ERROR otherwise.
    virtual LX2Status getMetadata(const std::vector<C2Param::Type>& types,
                                  std::vector<std::unique_ptr<C2Param>>* out) = 0;

    // Fetches every kind but the AV timestamp. Per-buffer information is appended to infos: HDR
    // dynamic metadata, vision-processor metadata, statistics of the compressed layout. Parameters
    // that update the stream's configuration are appended to configUpdates: color aspects, HDR
    // static info (10-bit formats only), the vision processor's frame rates. Payloads are cut to
    // the 1024 bytes that their records hold. C2_OK when at least one kind was fetched; LX2_ERROR
    // otherwise.
    virtual LX2Status getMetadata(std::vector<std::unique_ptr<C2Param>>* infos,
                                  std::vector<std::unique_ptr<C2Param>>* configUpdates) = 0;

    // Writes the infos that it recognises: color aspects and HDR static info (output forms,
    // together as one record), interlace (0xD200800B) and refresh rate (0xD2008035), whose payloads
    // are at least a word: a shorter one is written with zeros behind it. An aspects or HDR info
    // that is too short is ignored. What can't be written is logged. C2_OK, also then; LX2_ERROR
    // when there is no handle or no display-metadata library.
    // Aspects that the display's record has no value of their own for, and that read back
    // otherwise: the transfer 170M with BT.709 or BT.2020 primaries and the BT.601 matrix without
    // 625-line primaries as unspecified, and so does the limited range.
    virtual LX2Status setMetadata(const std::vector<std::shared_ptr<C2Info>>& infos) = 0;
};

// A platform buffer over an imported gralloc handle. The import is freed with the object.
class LX2_API LX2GrallocBuffer : public LX2PlatformBuffer {
  public:
    // handle: as a C2 graphic block carries it. It stays the caller's.
    explicit LX2GrallocBuffer(const native_handle_t* handle);
    ~LX2GrallocBuffer() override;

    LX2GrallocBuffer(const LX2GrallocBuffer&) = delete;
    LX2GrallocBuffer& operator=(const LX2GrallocBuffer&) = delete;

    int fd() override;
    uint32_t allocSize() override;
    uint32_t offset() override;
    uint32_t width() override;
    uint32_t height() override;
    uint32_t stride() override;
    uint32_t sliceHeight() override;
    uint32_t format() override;
    uint32_t flags() override;
    uint64_t id() override;

    LX2Status getMetadata(const std::vector<C2Param::Type>& types,
                          std::vector<std::unique_ptr<C2Param>>* out) override;
    LX2Status getMetadata(std::vector<std::unique_ptr<C2Param>>* infos,
                          std::vector<std::unique_ptr<C2Param>>* configUpdates) override;
    LX2Status setMetadata(const std::vector<std::shared_ptr<C2Info>>& infos) override;

    // Writes the time at which the display presents the frame: what getMetadata() reads as the AV
    // timestamp. The unit is the component's choice; the display compares the values with each
    // other. C2_OK; LX2_ERROR, with a warning, when it could not be written.
    LX2Status setPresentationTime(uint64_t timestamp);

    // Copies to target the metadata that the display stack keeps with this buffer, as far as it can
    // be written: the presentation time, and the color record as a whole (aspects, HDR static and
    // dynamic metadata). Appends to omitted, which may be null, the indices of the parameters as
    // getMetadata() gives them that this buffer has and target did not get: statistics of the
    // compressed layout and the vision processor's data always, the others when writing failed.
    // Interlace and refresh rate can't be read, and are neither copied nor listed.
    // C2_OK; LX2_ERROR, with a warning, when either object has no handle or a function of the
    // display-metadata library is missing; LX2_BAD_ARG for null.
    LX2Status copyMetadataTo(LX2GrallocBuffer* target, std::vector<C2Param::Index>* omitted);

  private:
    native_handle_t* mHandle = nullptr;
    bool mValid = false;
};

// The process's one connection to the graphics mapper service, version 3.0. Made on first use, gone
// when the library is unloaded. Calls may come from any thread.
class LX2_API LX2Mapper3Helper {
  public:
    // The instance. Never null. Of threads that race for the first one the last to make it wins,
    // and the others' instances go: keep the pointer for no longer than a call, and call this once
    // before threads that use graphic buffers start.
    static LX2Mapper3Helper* Get();

    LX2Mapper3Helper();
    ~LX2Mapper3Helper();

    LX2Mapper3Helper(const LX2Mapper3Helper&) = delete;
    LX2Mapper3Helper& operator=(const LX2Mapper3Helper&) = delete;

    // Makes a handle valid in this process. The result is given back through freeBuffer.
    // Null on failure, which is logged.
    native_handle_t* importBuffer(const native_handle_t* handle);

    // Gives an imported handle back. The mapper's refusal is logged; without a mapper nothing is
    // done.
    void freeBuffer(native_handle_t* handle);

  private:
    android::sp<android::hardware::graphics::mapper::V3_0::IMapper> mMapper;
    bool mUsable;

    static std::unique_ptr<LX2Mapper3Helper> sMapperHelper;
    static std::mutex sLock;
};

// Converts between the color parameters of Codec 2.0 and the display stack's color record, and
// names the record's values. Conversions give LX2_BAD_ARG when their output is null and C2_OK
// otherwise; values that have no counterpart become unspecified ones, and an unknown range becomes
// lxd::Range_Max (other).
class LX2_API LX2GrallocMetadataTranslater {
  public:
    LX2GrallocMetadataTranslater() = delete;

    // Writes the record's primaries, matrix coefficients, transfer and range, and nothing else of
    // it. Each value that the display stack doesn't know is logged.
    static LX2Status convertAspectsToMetaData(const C2StreamColorAspectsInfo::output& aspects,
                                              lxd::ColorMetaData* md);

    // Writes the four aspects. The display's limited range reads back as an unspecified one.
    static LX2Status convertMetaDataToAspects(const lxd::ColorMetaData& md,
                                              C2StreamColorAspectsInfo::input* aspects);

    // Writes the record's mastering display and content light levels and marks both present.
    // Values that a field can't hold become its smallest or largest value, NaN becomes 0.
    static LX2Status convertHsiToMetaData(const C2StreamHdrStaticMetadataInfo::output& hsi,
                                          lxd::ColorMetaData* md);

    // Writes all twelve values, whether the record marks them present or not.
    static LX2Status convertMetaDataToHsi(const lxd::ColorMetaData& md,
                                          C2StreamHdrStaticMetadataInfo::input* hsi);

    // The names of the record's values; "?" for a value that has none.
    static const char* Str(const lxd::ColorPrimaries& primaries);
    static const char* Str(const lxd::MatrixCoEfficients& matrix);
    static const char* Str(const lxd::GammaTransfer& transfer);
    static const char* Str(const lxd::ColorRange& range);

    // "{primaries matrix transfer range}" by name. out: not null; gives *out.
    static const std::string& AsString(const lxd::ColorMetaData& md, std::string* out);

  private:
    static const std::unordered_map<C2Color::primaries_t, lxd::ColorPrimaries>
        kC2ToDispPrimariesMap;
    static const std::unordered_map<C2Color::matrix_t, lxd::MatrixCoEfficients> kC2ToDispMatrixMap;
    static const std::unordered_map<C2Color::transfer_t, lxd::GammaTransfer> kC2ToDispTransferMap;
    static const std::unordered_map<C2Color::range_t, lxd::ColorRange> kC2ToDispRangeMap;
};

// Chooses a stream's color aspects between what its bitstream says and what the client configured,
// and names the values. The bitstream comes first, but for VP8 and VP9, where the client does.
class LX2_API LX2ColorAspects {
  public:
    LX2ColorAspects() = delete;

    // Each field by itself: the first source's value, or the other's when that is unspecified (0).
    // out keeps its header; it must not be one of the sources, which are read after it is cleared.
    // C2_OK; LX2_BAD_ARG when out is null.
    static LX2Status preferredColorAspects(const std::string& mime,
                                           const C2StreamColorAspectsInfo::output& coded,
                                           const C2StreamColorAspectsTuning::output& defaults,
                                           C2StreamColorAspectsInfo::output* out);

    // The names of the values; "?" for a value that has none.
    static const char* Str(const C2Color::primaries_t& primaries);
    static const char* Str(const C2Color::matrix_t& matrix);
    static const char* Str(const C2Color::transfer_t& transfer);
    static const char* Str(const C2Color::range_t& range);

    // "{primaries matrix transfer range}" by name, of any color-aspects parameter.
    // out: not null; gives *out.
    template <typename Aspects>
    static const std::string& AsString(const Aspects& aspects, std::string* out) {
        return Describe(aspects, out);
    }

  private:
    static const std::string& Describe(const C2ColorAspectsStruct& aspects, std::string* out);
};

extern template LX2_API const std::string& LX2ColorAspects::AsString(
    const C2StreamColorAspectsInfo::input&, std::string*);

// The same choice for HDR static info.
class LX2_API LX2ColorHsi {
  public:
    LX2ColorHsi() = delete;

    // One source as a whole, header included: the defaults for VP8 and VP9, or when codedAvailable
    // is false, or when only they have a red x chromaticity; else the coded info.
    // C2_OK; LX2_BAD_ARG when out is null.
    static LX2Status preferredHsi(const std::string& mime,
                                  const C2StreamHdrStaticMetadataInfo::output& coded,
                                  const C2StreamHdrStaticMetadataInfo::output& defaults,
                                  C2StreamHdrStaticMetadataInfo::output* out, bool codedAvailable);

    // The chromaticities and light levels as text, cut to 255 characters.
    // out: not null; gives *out.
    static const std::string& AsString(const C2StreamHdrStaticMetadataInfo::output& hsi,
                                       std::string* out);
};

}  // namespace lx2
