// The parameters of an example component: it describes them, owns their values, and lets a user set
// them by name from text.
//
//     ComponentParams params;
//     params.apply({"priority.value=3", "vendor.qp-range.min=12"});   // prints what changed
//     params.list();                                                 // prints every name
//     if (const auto* priority = params.get<ComponentParams::Priority>()) ... priority->value
//
// Used by one thread at a time.
#pragma once

#include <lx2/ReflectedParamUpdater.h>

#include <C2Config.h>
#include <C2ParamDef.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace lx2::example {

enum : uint32_t {
    kParamIndexPriority = 0x0101,
    kParamIndexOutputDelay,
    kParamIndexOperatingRate,
    kParamIndexWindow,
    kParamIndexPictureSize,
    kParamIndexLabel,
    kParamIndexComment,
    kParamIndexInitialData,
    kParamIndexDefaultColor,
    kParamIndexTargetBitrate,
    kParamIndexKeyFrameInterval,
    kParamIndexQpRange = C2Param::TYPE_INDEX_VENDOR_START + 0x0101,
};

struct C2PictureSizeStruct {
    uint32_t width;
    uint32_t height;
    DEFINE_C2STRUCT(PictureSize)
} C2_PACK;

struct C2WindowStruct {
    int32_t left;
    int32_t top;
    C2PictureSizeStruct picture;
    DEFINE_C2STRUCT(Window)
} C2_PACK;

struct C2DefaultColorStruct {  // as C2Color numbers them
    uint32_t range;
    uint32_t primaries;
    uint32_t transfer;
    uint32_t matrix;
    DEFINE_C2STRUCT(DefaultColor)
} C2_PACK;

struct C2LabelStruct {
    char text[16];
    DEFINE_C2STRUCT(Label)
} C2_PACK;

struct C2QpRangeStruct {
    int32_t min;
    int32_t max;
    DEFINE_C2STRUCT(QpRange)
} C2_PACK;

class ComponentParams {
  public:
    using Priority = C2GlobalParam<C2Setting, C2Int32Value, kParamIndexPriority>;
    using OutputDelay = C2PortParam<C2Tuning, C2Uint32Value, kParamIndexOutputDelay>::output;
    using OperatingRate = C2GlobalParam<C2Tuning, C2Uint32Value, kParamIndexOperatingRate>;
    using Window = C2StreamParam<C2Setting, C2WindowStruct>::output;
    using Label = C2GlobalParam<C2Setting, C2LabelStruct>;
    using Comment = C2GlobalParam<C2Setting, C2StringValue, kParamIndexComment>;
    using InitData = C2StreamParam<C2Info, C2BlobValue, kParamIndexInitialData>::output;
    using DefaultColor = C2StreamParam<C2Tuning, C2DefaultColorStruct>::output;
    // An encoder's.
    using Bitrate = C2StreamParam<C2Tuning, C2Uint32Value, kParamIndexTargetBitrate>::output;
    using KeyFrameInterval =
        C2StreamParam<C2Tuning, C2Uint32Value, kParamIndexKeyFrameInterval>::output;
    using QpRange = C2StreamParam<C2Tuning, C2QpRangeStruct>::output;

    enum class Kind { Decoder, Encoder };

    // out receives everything that is printed, and outlives this object.
    explicit ComponentParams(Kind kind = Kind::Decoder, std::ostream& out = std::cout);

    // Applies texts of the form name=value, one after the other. What can't be applied is said in
    // one line and the next one follows. Returns how many were applied.
    size_t apply(const std::vector<std::string>& settings);

    // Prints every name with its type and present value.
    void list() const;

    // The default colors as an info takes them.
    C2ColorAspectsStruct defaultAspects() const;

    // The present value of a parameter, valid until the next apply(). Null for one that is
    // described but that this component does not have, as OperatingRate.
    template <typename P>
    const P* get() const {
        return P::From(find(uint32_t{P::PARAM_TYPE}));
    }

  private:
    // One name and where its value lies.
    struct Field {
        std::string name;
        C2Param::Index param;
        C2FieldDescriptor::type_t type;
        size_t extent;
        size_t offset;  // in the parameter, bytes
    };

    template <typename P>
    void describe(const char* name);
    template <typename P>
    void add(std::unique_ptr<P> param);
    C2Param* find(C2Param::Index index) const;
    const Field* findField(const std::string& name) const;
    std::string valueOf(const Field& field) const;
    bool applyOne(const std::string& name, const std::string& value);

    std::ostream& mOut;
    std::shared_ptr<C2ParamReflector> mReflector;
    std::vector<std::shared_ptr<C2ParamDescriptor>> mDescriptors;
    std::vector<std::unique_ptr<C2Param>> mValues;
    ReflectedParamUpdater mUpdater;
    std::vector<Field> mFields;
};

}  // namespace lx2::example
