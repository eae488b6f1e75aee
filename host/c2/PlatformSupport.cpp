#include <C2PlatformSupport.h>
#include <util/C2InterfaceHelper.h>

namespace {

class PlatformStore : public C2ComponentStore {
  public:
    C2String getName() const override { return "android.componentStore.platform"; }
    c2_status_t createComponent(C2String, std::shared_ptr<C2Component>* const component) override {
        component->reset();
        return C2_NOT_FOUND;
    }
    c2_status_t createInterface(C2String,
                                std::shared_ptr<C2ComponentInterface>* const interface) override {
        interface->reset();
        return C2_NOT_FOUND;
    }
    std::vector<std::shared_ptr<const C2Component::Traits>> listComponents() override { return {}; }
    c2_status_t copyBuffer(std::shared_ptr<C2GraphicBuffer>,
                           std::shared_ptr<C2GraphicBuffer>) override {
        return C2_OMITTED;
    }
    c2_status_t query_sm(const std::vector<C2Param*>& stackParams,
                         const std::vector<C2Param::Index>& heapParamIndices,
                         std::vector<std::unique_ptr<C2Param>>* const) const override {
        return stackParams.empty() && heapParamIndices.empty() ? C2_OK : C2_BAD_INDEX;
    }
    c2_status_t config_sm(const std::vector<C2Param*>& params,
                          std::vector<std::unique_ptr<C2SettingResult>>* const) override {
        return params.empty() ? C2_OK : C2_BAD_INDEX;
    }
    std::shared_ptr<C2ParamReflector> getParamReflector() const override { return mReflector; }
    c2_status_t querySupportedParams_nb(
        std::vector<std::shared_ptr<C2ParamDescriptor>>* const) const override {
        return C2_OK;
    }
    c2_status_t querySupportedValues_sm(
        std::vector<C2FieldSupportedValuesQuery>& fields) const override {
        for (auto& query : fields)
            query.status = C2_BAD_INDEX;
        return C2_OK;
    }

  private:
    const std::shared_ptr<C2ReflectorHelper> mReflector = std::make_shared<C2ReflectorHelper>();
};

}  // namespace

std::shared_ptr<C2ComponentStore> android::GetCodec2PlatformComponentStore() {
    static const auto store = std::make_shared<PlatformStore>();
    return store;
}
