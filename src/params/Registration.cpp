#include <base/LogModules.h>
#include <lx2/ReflectedParamUpdater.h>

#include <C2ParamInternal.h>

#include <utility>

namespace lx2 {

constexpr LogModule kLog = kParamLog;
namespace {

// Bits of a parameter's index; a structure field's type carries the same structure flag above the
// core index of its structure.
constexpr uint32_t kVendorFlag = 0x8000;
constexpr uint32_t kStructFlag = 0x20000;
constexpr uint32_t kCoreMask = 0x1FFFF;

uint32_t CoreOf(uint32_t index) {
    return index & kCoreMask;
}

bool IsSingleValue(uint32_t type) {
    return type >= C2FieldDescriptor::INT32 && type <= C2FieldDescriptor::FLOAT;
}

bool IsBytes(uint32_t type) {
    return type == C2FieldDescriptor::STRING || type == C2FieldDescriptor::BLOB;
}

// A descriptor's named values stay behind: nobody reads them here.
std::unique_ptr<C2FieldDescriptor> CopyOf(const C2FieldDescriptor& field) {
    return std::make_unique<C2FieldDescriptor>(field.type(), static_cast<uint32_t>(field.extent()),
                                               field.name(), _C2ParamInspector::GetOffset(field),
                                               _C2ParamInspector::GetSize(field));
}

}  // namespace

// A structure being registered and, through holder, the structures around it. The outermost one,
// which the caller brought, is not the reflector's: it may have the core index of another.
struct ReflectedParamUpdater::Structure {
    const std::shared_ptr<C2ParamDescriptor>& param;
    const C2StructDescriptor& descriptor;
    const std::shared_ptr<C2ParamReflector>& reflector;
    uint32_t coreIndex;  // as the reflector described it; kBrought
    const Structure* holder;

    static constexpr uint32_t kBrought = 0xFFFFFFFF;

    // No structure holds itself; a reflector that says so would be asked for ever.
    bool isWithin(uint32_t core) const {
        return coreIndex == core || (holder != nullptr && holder->isWithin(core));
    }
};

void ReflectedParamUpdater::addParamDesc(
    const std::shared_ptr<C2ParamReflector>& reflector,
    const std::vector<std::shared_ptr<C2ParamDescriptor>>& descriptors) {
    for (const std::shared_ptr<C2ParamDescriptor>& desc : descriptors) {
        if (desc == nullptr)
            continue;
        std::unique_ptr<C2StructDescriptor> structure;
        if (reflector != nullptr)
            structure = reflector->describe(CoreOf(desc->index()));
        if (structure != nullptr)
            addParamDesc(desc, *structure, reflector, true);
        else
            LX2_LOGE("Could not describe %s", desc->name().c_str());
    }
}

void ReflectedParamUpdater::addParamDesc(std::shared_ptr<C2ParamDescriptor> desc,
                                         const C2StructDescriptor& structure,
                                         const std::shared_ptr<C2ParamReflector>& reflector,
                                         bool markVendor) {
    if (desc == nullptr)
        return;
    const uint32_t index = desc->index();
    if ((index & kStructFlag) != 0)
        return;
    std::string name = desc->name();
    if (markVendor && (index & kVendorFlag) != 0)
        name = "vendor." + name;
    mNamesByIndex.emplace(index, name);

    const auto whole = mWholeParamsByName.find(name);
    if (whole != mWholeParamsByName.end() && CoreOf(whole->second.coreIndex()) == CoreOf(index)) {
        mFieldsByName.emplace(std::move(name), FieldDesc{std::move(desc), nullptr, 0});
        return;
    }
    addParamStructDesc(std::move(desc), std::move(name), 0, structure, reflector);
}

void ReflectedParamUpdater::addParamStructDesc(std::shared_ptr<C2ParamDescriptor> desc,
                                               std::string path, size_t offset,
                                               const C2StructDescriptor& structure,
                                               const std::shared_ptr<C2ParamReflector>& reflector) {
    if (desc == nullptr)
        return;
    addFields({desc, structure, reflector, Structure::kBrought, nullptr}, path, offset);
}

void ReflectedParamUpdater::addFields(const Structure& structure, const std::string& path,
                                      size_t offset) {
    for (const C2FieldDescriptor& field : structure.descriptor) {
        const uint32_t type = field.type();
        const std::string name = path + "." + field.name();
        if ((type & kStructFlag) != 0) {
            addStructField(structure, field, name, offset);
        } else if (IsSingleValue(type) && field.extent() != 1) {
            LX2_LOGE("extent() != 1 for single value type: %s", name.c_str());
        } else if (!IsSingleValue(type) && !IsBytes(type)) {
            LX2_LOGE("Unrecognized type: %s", name.c_str());
        } else if (mFieldsByName.count(name) == 0) {
            LX2_LOGT("%s registered", name.c_str());
            mFieldsByName.emplace(name, FieldDesc{structure.param, CopyOf(field), offset});
        }
    }
    // The analyser loses the descriptor that the map owns now.
}  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)

void ReflectedParamUpdater::addStructField(const Structure& holder, const C2FieldDescriptor& field,
                                           const std::string& name, size_t offset) {
    if (holder.reflector == nullptr || field.extent() != 1) {
        LX2_LOGE("ignored struct field %s", name.c_str());
        return;
    }
    const uint32_t core = CoreOf(field.type());
    std::unique_ptr<C2StructDescriptor> inner;
    if (!holder.isWithin(core))
        inner = holder.reflector->describe(core);
    if (inner == nullptr) {
        LX2_LOGE("Could not describe structure of %s", name.c_str());
        return;
    }
    addFields({holder.param, *inner, holder.reflector, core, &holder}, name,
              offset + _C2ParamInspector::GetOffset(field));
}

void ReflectedParamUpdater::supportWholeParam(std::string name, C2Param::CoreIndex coreIndex) {
    mWholeParamsByName.emplace(std::move(name), coreIndex);
}

std::string ReflectedParamUpdater::getParamName(C2Param::Index index) const {
    const auto found = mNamesByIndex.find(index);
    if (found != mNamesByIndex.end())
        return found->second;
    return "<unknown " + std::to_string(static_cast<uint32_t>(index)) + ">";
}

void ReflectedParamUpdater::clear() {
    mFieldsByName.clear();
}

}  // namespace lx2
