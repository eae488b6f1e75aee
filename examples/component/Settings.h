// A component's interface: its parameters, stated with C2InterfaceHelper.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Component.h>
#include <C2ParamInternal.h>
#include <util/C2InterfaceHelper.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace lx2::example {

// Calls may come from any thread. All that give a status answer C2_BAD_STATE once it is closed.
class Settings : public C2ComponentInterface {
  public:
    using Make = std::function<std::shared_ptr<C2InterfaceHelper>()>;

    // make: the parameters with their defaults.
    Settings(std::string name, c2_node_id_t id, Make make);

    // All parameters have their defaults again.
    void reset();
    // Nothing can be asked any more.
    void close();

    // The present value; null for a parameter that there is not.
    template <typename P>
    std::unique_ptr<P> get() const {
        std::vector<std::unique_ptr<C2Param>> values;
        query_vb({}, {uint32_t{P::PARAM_TYPE}}, C2_DONT_BLOCK, &values);
        if (values.empty() || P::From(values.front().get()) == nullptr)
            return nullptr;
        return std::unique_ptr<P>(P::From(values.front().release()));
    }

    // Sets what the codec found out. Returns copies of those of the watched parameters that changed
    // by it, for the client.
    std::vector<std::unique_ptr<C2Param>> update(const std::vector<C2Param*>& params,
                                                 const std::vector<C2Param::Index>& watched);

    C2String getName() const override { return mName; }
    c2_node_id_t getId() const override { return mId; }
    c2_status_t query_vb(const std::vector<C2Param*>& stackParams,
                         const std::vector<C2Param::Index>& heapParamIndices,
                         c2_blocking_t mayBlock,
                         std::vector<std::unique_ptr<C2Param>>* const heapParams) const override;
    c2_status_t config_vb(const std::vector<C2Param*>& params, c2_blocking_t mayBlock,
                          std::vector<std::unique_ptr<C2SettingResult>>* const failures) override;
    c2_status_t createTunnel_sm(c2_node_id_t) override { return C2_OMITTED; }
    c2_status_t releaseTunnel_sm(c2_node_id_t) override { return C2_OMITTED; }
    c2_status_t querySupportedParams_nb(
        std::vector<std::shared_ptr<C2ParamDescriptor>>* const params) const override;
    c2_status_t querySupportedValues_vb(std::vector<C2FieldSupportedValuesQuery>& fields,
                                        c2_blocking_t mayBlock) const override;

  private:
    std::shared_ptr<C2InterfaceHelper> params() const;

    const std::string mName;
    const c2_node_id_t mId;
    const Make mMake;
    mutable std::mutex mLock;
    std::shared_ptr<C2InterfaceHelper> mParams;  // null once closed
};

// A parameter that holds text.
template <typename P>
std::shared_ptr<P> TextParam(const std::string& text) {
    std::shared_ptr<P> param = P::AllocShared(text.size() + 1);
    memcpy(param->m.value, text.c_str(), text.size() + 1);
    return param;
}

// And its text.
template <typename P>
std::string TextOf(const std::unique_ptr<P>& param) {
    return param == nullptr
               ? ""
               : std::string(param->m.value, strnlen(param->m.value, param->flexCount()));
}

}  // namespace lx2::example
