// Stand-in for the Codec 2.0 support library's <util/C2InterfaceHelper.h>: a component's
// parameters, stated in its constructor with their defaults, values, setters and dependencies.
//
//     addParameter(DefineParam(mSize, C2_PARAMKEY_PICTURE_SIZE)
//                      .withDefault(new C2StreamPictureSizeInfo::output(0u, 320, 240))
//                      .withFields({C2F(mSize, width).inRange(2, 4096, 2),
//                                   C2F(mSize, height).inRange(2, 4096, 2)})
//                      .withSetter(SetSize, mRotation)
//                      .build());
//
// with std::shared_ptr<C2StreamPictureSizeInfo::output> mSize, which always holds the value in
// force, and
//
//     static C2R SetSize(bool mayBlock, C2P<C2StreamPictureSizeInfo::output>& me,
//                        const C2P<Rotation>& rotation);
//
// A setter gets the wanted value in me, changes what it does not accept, and says so. It is called
// for each config() of its parameter and after each change of a parameter that it depends on.
#pragma once

#include <C2Component.h>
#include <C2ParamDef.h>
#include <util/C2ReflectorHelper.h>
#include <util/C2SettingResults.h>
#include <util/C2SupportedValues.h>

#include <functional>
#include <mutex>
#include <utility>

// Its public functions may be called from several threads at a time.
class LX2_HOST_API C2InterfaceHelper {
  public:
    using Lock = std::unique_lock<std::mutex>;

    explicit C2InterfaceHelper(const std::shared_ptr<C2ReflectorHelper>& reflector);
    virtual ~C2InterfaceHelper();

    // Fills each of stackParams, which becomes invalid where it is not known or too short, and
    // appends a copy of each of heapParamIndices, null for what is not known. Returns the first
    // fault, after reading everything else: C2_BAD_INDEX for what is not known; C2_NO_MEMORY for
    // what is too short; C2_BAD_VALUE for a null. Else C2_OK.
    c2_status_t query(const std::vector<C2Param*>& stackParams,
                      const std::vector<C2Param::Index>& heapParamIndices, c2_blocking_t mayBlock,
                      std::vector<std::unique_ptr<C2Param>>* const heapParams) const;

    // Sets the parameters one after the other, each with what depends on it. With updateParams each
    // of params takes the value that is in force at the end, if it has room for it. Returns the
    // first fault, after setting everything else: C2_BAD_INDEX for what is not known; C2_BAD_VALUE
    // for a null, a wrong size or what a setter refuses; C2_CORRUPTED for another value of a
    // constant. Else C2_OK, also for a value that a setter changed. Nothing is added to changes, as
    // on the platform.
    c2_status_t config(const std::vector<C2Param*>& params, c2_blocking_t mayBlock,
                       std::vector<std::unique_ptr<C2SettingResult>>* const failures,
                       bool updateParams = true,
                       std::vector<std::shared_ptr<C2Param>>* changes = nullptr);

    // Appends all parameters in the order of their definition. C2_OK; C2_BAD_VALUE for null.
    c2_status_t querySupportedParams(
        std::vector<std::shared_ptr<C2ParamDescriptor>>* const params) const;

    // Answers each query in its status: C2_OK, C2_BAD_INDEX for a parameter and C2_NOT_FOUND for a
    // field that is not known. What is possible now is what is possible at all. C2_OK.
    c2_status_t querySupportedValues(std::vector<C2FieldSupportedValuesQuery>& fields,
                                     c2_blocking_t mayBlock) const;

    std::shared_ptr<C2ReflectorHelper> getReflector() const;

    // To be held while the component's pointers are read.
    Lock lock() const;

  protected:
    // One parameter without its type.
    struct ParamHelper {
        C2String name;
        uint32_t attributes = C2ParamDescriptor::IS_PERSISTENT;
        std::unique_ptr<C2StructDescriptor> structure;
        _C2ParamFields fields;

        const void* pointer = nullptr;  // the component's, and by its type:
        std::function<std::shared_ptr<C2Param>()> get;
        std::function<void(std::unique_ptr<C2Param>)> set;
        bool (*fits)(const C2Param& value) = nullptr;  // whether the type can be that long

        std::vector<const void*> dependencyPointers;
        std::vector<const ParamHelper*> dependencies;  // as addParameter() finds them
        bool isCalculated = false;
        // None for a constant.
        std::function<C2R(bool mayBlock, const ParamHelper& me, C2Param* old, C2Param* value)>
            setter;
    };

    // States a parameter. A value is a must, and a setter for what is not constant.
    template <typename P>
    class ParamBuilder {
      public:
        ParamBuilder(std::shared_ptr<P>* param, const char* name);

        ParamBuilder& withDefault(std::shared_ptr<P> value) {
            *mParam = std::move(value);
            return *this;
        }
        ParamBuilder& withDefault(P* value) { return withDefault(std::shared_ptr<P>(value)); }
        ParamBuilder& withConstValue(std::shared_ptr<P> value) {
            return with(C2ParamDescriptor::IS_CONST).withDefault(std::move(value));
        }
        ParamBuilder& withConstValue(P* value) { return withConstValue(std::shared_ptr<P>(value)); }

        // The values of its fields; any value for those that are left out.
        ParamBuilder& withFields(std::vector<C2ParamFieldValuesBuilder> fields) {
            mHelper->fields = _C2ParamFields(std::move(fields), P::FieldList());
            return *this;
        }

        template <typename... D>
        ParamBuilder& withSetter(C2R (*set)(bool, C2P<P>& me, const C2P<D>&...),
                                 std::shared_ptr<D>&... dependencies) {
            return dependingOn(
                [set](bool mayBlock, const C2P<P>&, C2P<P>& me, const C2P<D>&... others) {
                    return set(mayBlock, me, others...);
                },
                dependencies...);
        }
        // A setter that wants to know the old value. Its parameter is strict.
        template <typename... D>
        ParamBuilder& withSetter(C2R (*set)(bool, const C2P<P>& old, C2P<P>& me, const C2P<D>&...),
                                 std::shared_ptr<D>&... dependencies) {
            return with(C2ParamDescriptor::IS_STRICT).dependingOn(set, dependencies...);
        }
        // A parameter that nobody sets: its setter is only called for its dependencies.
        template <typename... D>
        ParamBuilder& calculatedAs(C2R (*set)(bool, C2P<P>& me, const C2P<D>&...),
                                   std::shared_ptr<D>&... dependencies) {
            mHelper->isCalculated = true;
            return with(C2ParamDescriptor::IS_READ_ONLY).withSetter(set, dependencies...);
        }

        ParamBuilder& required() { return with(C2ParamDescriptor::IS_REQUIRED); }
        ParamBuilder& hidden() { return with(C2ParamDescriptor::IS_HIDDEN); }
        ParamBuilder& internal() { return with(C2ParamDescriptor::IS_INTERNAL); }
        ParamBuilder& transient() {
            mHelper->attributes &= ~uint32_t{C2ParamDescriptor::IS_PERSISTENT};
            return *this;
        }

        std::shared_ptr<ParamHelper> build() { return mHelper; }

      private:
        ParamBuilder& with(uint32_t attributes) {
            mHelper->attributes |= attributes;
            return *this;
        }
        template <typename Set, typename... D>
        ParamBuilder& dependingOn(Set set, std::shared_ptr<D>&... dependencies);

        std::shared_ptr<P>* const mParam;
        const std::shared_ptr<ParamHelper> mHelper = std::make_shared<ParamHelper>();
    };

    // A parameter by the member that holds it.
    template <typename P>
    ParamBuilder<P> DefineParam(std::shared_ptr<P>& param, const char* name) {
        return ParamBuilder<P>(&param, name);
    }

    // Adds a parameter, and its structure to the reflector; what depends on others is worked out at
    // once. One that has no value or setter, is there already or depends on what is not there is
    // left out, with an error in the log.
    void addParameter(const std::shared_ptr<ParamHelper>& param);

    // For setters that are members of the component, which this stand-in leaves out.
    template <typename T>
    void setDerivedInstance(T*) {}

  private:
    struct Impl;
    const std::unique_ptr<Impl> mImpl;
};

template <typename P>
C2InterfaceHelper::ParamBuilder<P>::ParamBuilder(std::shared_ptr<P>* param, const char* name)
    : mParam(param) {
    mHelper->name = name;
    mHelper->structure =
        std::make_unique<C2StructDescriptor>(uint32_t{P::PARAM_TYPE}, P::FieldList());
    mHelper->pointer = param;
    mHelper->get = [param] { return *param; };
    mHelper->set = [param](std::unique_ptr<C2Param> value) {
        param->reset(P::From(value.release()));
    };
    mHelper->fits = [](const C2Param& value) { return P::From(&value) != nullptr; };
    withFields({});
}

template <typename P>
template <typename Set, typename... D>
C2InterfaceHelper::ParamBuilder<P>& C2InterfaceHelper::ParamBuilder<P>::dependingOn(
    Set set, std::shared_ptr<D>&... dependencies) {
    mHelper->dependencyPointers = {&dependencies...};
    mHelper->setter = [set, &dependencies...](bool mayBlock, const ParamHelper& helper,
                                              C2Param* old, C2Param* value) {
        C2P<P> me(P::From(value), helper.fields);
        size_t next = 0;
        [[maybe_unused]] const auto fields = [&]() -> const _C2ParamFields& {
            return helper.dependencies[next++]->fields;
        };
        return std::apply(
            [&](const C2P<D>&... others) {
                return set(mayBlock, C2P<P>(P::From(old), helper.fields), me, others...);
            },
            std::tuple<C2P<D>...>{C2P<D>(dependencies.get(), fields())...});
    };
    return *this;
}
