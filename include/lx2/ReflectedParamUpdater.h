// Applies parameter changes that arrive as text to a component's binary C2 parameters.
//
// The framework names a change by a dotted key ("vendor.qp-range.min") and gives its value as text
// ("12"). A component registers once, from its parameter descriptors and its reflector, what keys
// it has; then each message is read against them:
//
//     ReflectedParamUpdater updater;
//     updater.addParamDesc(reflector, descriptors);
//     ...
//     updater.updateParamsFromMessage({{"vendor.qp-range.min", "12"}}, &params);
//
// or, with a status for each key and for more types, updater.applyMessage(...).
//
// A key is the parameter's name, "." and the field's name, with one more "." and name for every
// level of nesting; the keys of vendor parameters begin with "vendor.". Register on one thread
// before use. The const calls only read what was registered: several threads may make them at once
// while no thread registers or clears.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Param.h>
#include <lx2/Export.h>
#include <lx2/LX2Status.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace lx2 {

class LX2_API ReflectedParamUpdater {
  public:
    // Keys and their values, both text.
    using Message = std::unordered_map<std::string, std::string>;

    // One key: a field of a parameter, or a parameter that is only set as a whole.
    struct FieldDesc {
        std::shared_ptr<C2ParamDescriptor> param;
        std::unique_ptr<C2FieldDescriptor> field;  // without named values; null: whole parameter
        size_t baseOffset;  // of the structure that holds the field, in the parameter's body, bytes
    };

    // Receives the key, its description, and the value's bytes with their number. The bytes are
    // valid during the call only.
    using Work =
        std::function<void(const std::string&, const FieldDesc&, const void* value, size_t size)>;

    // Registers the fields of every parameter of the list, vendor parameters under "vendor.". A
    // parameter that the reflector can't describe is logged and left out.
    void addParamDesc(const std::shared_ptr<C2ParamReflector>& reflector,
                      const std::vector<std::shared_ptr<C2ParamDescriptor>>& descriptors);

    // Registers one parameter of a known structure. markVendor: a vendor parameter's keys begin
    // with "vendor.". An index that carries the structure flag is no parameter and is left out.
    void addParamDesc(std::shared_ptr<C2ParamDescriptor> desc, const C2StructDescriptor& structure,
                      const std::shared_ptr<C2ParamReflector>& reflector, bool markVendor);

    // Registers the fields of one structure, whose place in the parameter's body is offset (bytes),
    // under path. The reflector describes nested structures; without one they are left out. Fields
    // that can't be addressed by a key (arrays other than strings and blobs, unknown types) are
    // logged and left out. The first registration of a name wins.
    void addParamStructDesc(std::shared_ptr<C2ParamDescriptor> desc, std::string path,
                            size_t offset, const C2StructDescriptor& structure,
                            const std::shared_ptr<C2ParamReflector>& reflector);

    // Makes the parameter of this name (with "vendor." where that applies) one key, without keys
    // for its fields. No text sets it: a message that has the key is told so. To be called before
    // the parameter is registered; the first call for a name wins.
    void supportWholeParam(std::string name, C2Param::CoreIndex coreIndex);

    // The name of a registered parameter; "<unknown N>", N the index in decimal, for any other.
    std::string getParamName(C2Param::Index index) const;

    // The keys that are registered, ascending, with what each is. Valid until something is
    // registered or cleared. Where a field lies in its parameter, in bytes: sizeof(C2Param),
    // baseOffset, and the field's own offset (_C2ParamInspector::GetOffset).
    const std::map<std::string, FieldDesc>& fields() const { return mFieldsByName; }

    // Forgets the keys. The parameters' names and the list of whole parameters stay.
    void clear();

    // Writes the values of the message into the parameters as updateParamsFromMessage() does, in
    // ascending order of the keys, but takes INT64, UINT64, CNTR32, CNTR64 and FLOAT fields as
    // well, reads numbers strictly, and gives a status for every key of the message instead of an
    // exception:
    // - C2_OK: the value is written.
    // - C2_BAD_INDEX: no key of this name is registered.
    // - C2_BAD_VALUE: the text is no value of the field's type: no decimal number, one with
    //   anything before or behind it, one out of the type's range (a negative one for an unsigned
    //   field), or a text that is longer than its field. FLOAT is read by std::strtof.
    // - C2_CANNOT_DO: no text sets this field (a BLOB), or this parameter (set as a whole).
    // - C2_NOT_FOUND: the parameter is not in the list.
    // - C2_CORRUPTED: the parameter is shorter than its descriptor says.
    // - C2_NO_MEMORY: no memory for a longer parameter.
    // Every failure but C2_BAD_INDEX is logged, and leaves the parameter as it is.
    std::map<std::string, LX2Status> applyMessage(
        const Message& message, std::vector<std::unique_ptr<C2Param>>* params) const;

    // Parses the value of every key of the message that is registered, in ascending order of the
    // keys, and calls work with it. Text goes with its terminating zero and is cut to the room of
    // its field. INT32 and UINT32 are read by std::stoi, whose exceptions pass through once the key
    // and its value are logged: the keys before are then done, those after are not. STRING, INT32
    // and UINT32 are all that text can say: values of other types, and of a parameter that is set
    // as a whole, are logged and left out.
    void parseMessageAndDoWork(const Message& message, const Work& work) const;

    // Replaces *out by the indices of the parameters that the message touches, each once,
    // ascending. Exceptions as parseMessageAndDoWork; *out is then empty.
    void getParamIndicesFromMessage(const Message& message, std::vector<C2Param::Index>* out) const;

    // Writes the values of the message into the parameters, which the caller owns. Empty slots and
    // invalid parameters are passed over; of two with one index the later is written. A text field
    // of no fixed extent, the last of its parameter, grows or shrinks it: growing puts a new object
    // into the slot and frees the old one. A key whose parameter is not in the list is logged and
    // left out; parameters are found by the whole index of their descriptor, its stream included,
    // so that under a descriptor of stream 0 a parameter of stream 3 is not. A value that would end
    // outside its parameter is left out without a message. Exceptions as parseMessageAndDoWork.
    void updateParamsFromMessage(const Message& message,
                                 std::vector<std::unique_ptr<C2Param>>* params) const;

  private:
    struct Structure;
    void addFields(const Structure& structure, const std::string& path, size_t offset);
    void addStructField(const Structure& holder, const C2FieldDescriptor& field,
                        const std::string& name, size_t offset);

    std::map<std::string, FieldDesc> mFieldsByName;
    std::map<C2Param::Index, std::string> mNamesByIndex;
    std::map<std::string, C2Param::CoreIndex> mWholeParamsByName;
};

}  // namespace lx2
