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

#include <C2ParamDef.h>
#include <lx2/ReflectedParamUpdater.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace lx2::example {

class ComponentParams {
  public:
    enum ParamIndex : uint32_t {
        kPriority = 0x0101,
        kOutputDelay = 0x0102,
        kOperatingRate = 0x0103,
        kWindow = 0x0104,
        kPictureSize = 0x0105,
        kLabel = 0x0106,
        kComment = 0x0107,
        kInitData = 0x0108,
        kDefaultColor = 0x0109,
        kQpRange = C2Param::IS_VENDOR_FLAG | 0x0101,
    };
    struct PictureSizeStruct {
        uint32_t width;
        uint32_t height;
        C2STRUCT_FIELDS(PictureSizeStruct, kPictureSize, C2FIELD(width, "width"),
                        C2FIELD(height, "height"))
    };
    struct WindowStruct {
        int32_t left;
        int32_t top;
        PictureSizeStruct picture;
        C2STRUCT_FIELDS(WindowStruct, kWindow, C2FIELD(left, "left"), C2FIELD(top, "top"),
                        C2FIELD(picture, "size"))
    };
    struct DefaultColorStruct {  // as C2Color numbers them
        uint32_t range;
        uint32_t primaries;
        uint32_t transfer;
        uint32_t matrix;
        C2STRUCT_FIELDS(DefaultColorStruct, kDefaultColor, C2FIELD(range, "range"),
                        C2FIELD(primaries, "primaries"), C2FIELD(transfer, "transfer"),
                        C2FIELD(matrix, "matrix"))
    };
    struct LabelStruct {
        char text[16];
        C2STRUCT_FIELDS(LabelStruct, kLabel, C2FIELD(text, "text"))
    };
    struct QpRangeStruct {
        int32_t min;
        int32_t max;
        C2STRUCT_FIELDS(QpRangeStruct, kQpRange, C2FIELD(min, "min"), C2FIELD(max, "max"))
    };

    using Priority = C2GlobalParam<C2Setting, C2Int32Value, kPriority>;
    using OutputDelay = C2PortParam<C2Tuning, C2Uint32Value, kOutputDelay>::output;
    using OperatingRate = C2GlobalParam<C2Tuning, C2Uint32Value, kOperatingRate>;
    using Window = C2StreamParam<C2Setting, WindowStruct>::output;
    using Label = C2GlobalParam<C2Setting, LabelStruct>;
    using Comment = C2GlobalParam<C2Setting, C2StringValue, kComment>;
    using InitData = C2StreamParam<C2Info, C2BlobValue, kInitData>::output;
    using DefaultColor = C2StreamParam<C2Tuning, DefaultColorStruct>::output;
    using QpRange = C2StreamParam<C2Tuning, QpRangeStruct>::output;

    // out receives everything that is printed, and outlives this object.
    explicit ComponentParams(std::ostream& out = std::cout);

    // Applies texts of the form name=value, one after the other. What can't be applied is said in
    // one line and the next one follows. Returns how many were applied.
    size_t apply(const std::vector<std::string>& settings);

    // Prints every name with its type and present value.
    void list() const;

    // The present value of a parameter, valid until the next apply(). Null for one that is
    // described but that this component does not have, as OperatingRate.
    template <typename P>
    const P* get() const {
        return P::From(find(P::PARAM_TYPE));
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
    void addFields(C2Param::Index param, const std::string& path, size_t offset,
                   const C2StructDescriptor& structure);
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
