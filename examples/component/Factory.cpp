#include "Factory.h"

#include <C2PlatformSupport.h>
#include <lx2/LX2GrallocBuffer.h>

#include <utility>

namespace lx2::example {

namespace {

class Factory : public C2ComponentFactory {
  public:
    explicit Factory(const ComponentKind& kind)
        : mKind(kind),
          mReflector(std::static_pointer_cast<C2ReflectorHelper>(
              android::GetCodec2PlatformComponentStore()->getParamReflector())) {
        LX2Mapper3Helper::Get();  // the connection to the mapper, before threads race for it
    }

    c2_status_t createComponent(c2_node_id_t id, std::shared_ptr<C2Component>* const component,
                                ComponentDeleter deleter) override {
        *component = std::shared_ptr<C2Component>(new Component(settings(id), mKind.makeCodec),
                                                  std::move(deleter));
        return C2_OK;
    }

    c2_status_t createInterface(c2_node_id_t id,
                                std::shared_ptr<C2ComponentInterface>* const interface,
                                InterfaceDeleter deleter) override {
        *interface =
            std::shared_ptr<C2ComponentInterface>(makeSettings(id).release(), std::move(deleter));
        return C2_OK;
    }

  private:
    std::unique_ptr<Settings> makeSettings(c2_node_id_t id) const {
        return std::make_unique<Settings>(
            mKind.name, id,
            [make = mKind.makeParams, reflector = mReflector] { return make(reflector); });
    }
    std::shared_ptr<Settings> settings(c2_node_id_t id) const { return makeSettings(id); }

    const ComponentKind mKind;
    const std::shared_ptr<C2ReflectorHelper> mReflector;
};

}  // namespace

C2ComponentFactory* NewFactory(const ComponentKind& kind) {
    return new Factory(kind);
}

}  // namespace lx2::example
