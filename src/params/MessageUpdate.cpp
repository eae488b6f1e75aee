#include <base/LogModules.h>
#include <lx2/ReflectedParamUpdater.h>

#include <algorithm>
#include <set>
#include <stdexcept>

#include "FieldWriter.h"
#include "TextValue.h"

namespace lx2 {

constexpr LogModule kLog = kParamLog;
namespace {

using FieldDesc = ReflectedParamUpdater::FieldDesc;
using Work = ReflectedParamUpdater::Work;

void LogUnsupported(const std::string& name) {
    LX2_LOGE("Unsupported data type for %s", name.c_str());
}

void ParseText(const std::string& name, const FieldDesc& desc, const std::string& text,
               const Work& work) {
    const size_t extent = desc.field->extent();
    if (extent == 0 || text.size() < extent) {
        work(name, desc, text.c_str(), text.size() + 1);
        return;
    }
    const std::string cut = text.substr(0, extent - 1);
    LX2_LOGT("String value too long to fit: original \"%s\" truncated to \"%s\"", text.c_str(),
             cut.c_str());
    work(name, desc, cut.c_str(), cut.size() + 1);
}

// Unsigned fields are read as signed ones too: they take texts up to 2^31 - 1, and the bits of a
// negative number.
void ParseInteger(const std::string& name, const FieldDesc& desc, const std::string& text,
                  const Work& work) {
    int32_t value = 0;
    try {
        value = std::stoi(text);
    } catch (const std::logic_error&) {
        LX2_LOGE("%s: \"%s\" is no number of 32 bits", name.c_str(), text.c_str());
        throw;
    }
    work(name, desc, &value, sizeof(value));
}

void Parse(const std::string& name, const FieldDesc& desc, const std::string& text,
           const Work& work) {
    // A whole parameter has no field, and no text makes one.
    if (desc.field == nullptr)
        return LogUnsupported(name);
    switch (desc.field->type()) {
        case C2FieldDescriptor::STRING:
            return ParseText(name, desc, text, work);
        case C2FieldDescriptor::INT32:
        case C2FieldDescriptor::UINT32:
            return ParseInteger(name, desc, text, work);
        default:
            return LogUnsupported(name);
    }
}

// The slots of a list that hold valid parameters, by index; of two with one index the later.
class Slots {
  public:
    using Slot = std::unique_ptr<C2Param>;

    explicit Slots(std::vector<Slot>* params) {
        if (params == nullptr)
            return;
        for (Slot& slot : *params)
            if (slot != nullptr && *slot)
                mSlots[slot->index()] = &slot;
    }

    // The slot of a key's parameter; null, with an error line, when it is not there.
    Slot* find(const std::string& name, const FieldDesc& desc) const {
        const uint32_t index = desc.param->index();
        const auto slot = mSlots.find(index);
        if (slot != mSlots.end())
            return slot->second;
        LX2_LOGE("%s found, but param #%d isn't present to update", name.c_str(),
                 static_cast<int32_t>(index));
        return nullptr;
    }

  private:
    std::map<uint32_t, Slot*> mSlots;
};

LX2Status Apply(const std::string& name, const FieldDesc& desc, const std::string& text,
                const Slots& slots) {
    std::string bytes;
    const LX2Status status =
        desc.field != nullptr ? ReadText(*desc.field, text, &bytes) : C2_CANNOT_DO;
    if (status == C2_CANNOT_DO)
        LogUnsupported(name);
    else if (status != C2_OK)
        LX2_LOGE("%s: \"%s\" is no value of its type", name.c_str(), text.c_str());
    if (status != C2_OK)
        return status;
    auto* slot = slots.find(name, desc);
    if (slot == nullptr)
        return C2_NOT_FOUND;
    const LX2Status written =
        WriteField(slot, *desc.field, desc.baseOffset, bytes.data(), bytes.size());
    if (written != C2_OK)
        LX2_LOGE("%s: the value does not fit its parameter", name.c_str());
    return written;
}

}  // namespace

void ReflectedParamUpdater::parseMessageAndDoWork(const Message& message, const Work& work) const {
    if (work == nullptr)
        return;
    // Each key of the message is looked up, so that the cost follows the message and not the number
    // of registered names.
    std::vector<std::pair<decltype(mFieldsByName)::const_iterator, const std::string*>> hits;
    for (const auto& [key, text] : message) {
        const auto entry = mFieldsByName.find(key);
        if (entry != mFieldsByName.end())
            hits.emplace_back(entry, &text);
    }
    std::sort(hits.begin(), hits.end(), [](const auto& left, const auto& right) {
        return left.first->first < right.first->first;
    });
    for (const auto& [entry, text] : hits)
        Parse(entry->first, entry->second, *text, work);
}

void ReflectedParamUpdater::getParamIndicesFromMessage(const Message& message,
                                                       std::vector<C2Param::Index>* out) const {
    if (out == nullptr)
        return;
    out->clear();
    std::set<uint32_t> indices;
    parseMessageAndDoWork(
        message, [&indices](const std::string&, const FieldDesc& desc, const void*, size_t) {
            indices.insert(desc.param->index());
        });
    out->assign(indices.begin(), indices.end());
}

void ReflectedParamUpdater::updateParamsFromMessage(
    const Message& message, std::vector<std::unique_ptr<C2Param>>* params) const {
    if (params == nullptr)
        return;
    const Slots slots(params);
    parseMessageAndDoWork(message, [&slots](const std::string& name, const FieldDesc& desc,
                                            const void* value, size_t size) {
        if (auto* slot = slots.find(name, desc))
            WriteField(slot, *desc.field, desc.baseOffset, value, size);
    });
}

std::map<std::string, LX2Status> ReflectedParamUpdater::applyMessage(
    const Message& message, std::vector<std::unique_ptr<C2Param>>* params) const {
    const Slots slots(params);
    std::map<std::string, LX2Status> statuses;
    for (const auto& [name, text] : message)
        statuses.emplace(name, C2_BAD_INDEX);
    for (auto& [name, status] : statuses) {
        const auto entry = mFieldsByName.find(name);
        if (entry != mFieldsByName.end())
            status = Apply(name, entry->second, message.at(name), slots);
    }
    return statuses;
}

}  // namespace lx2
