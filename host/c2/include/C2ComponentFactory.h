// Stand-in for the Codec 2.0 support library's <C2ComponentFactory.h>: what a component's library
// exports, CreateCodec2Factory and DestroyCodec2Factory with C linkage.
#pragma once

#include <C2Component.h>

#include <functional>

class C2ComponentFactory {
  public:
    using ComponentDeleter = std::function<void(C2Component*)>;
    using InterfaceDeleter = std::function<void(C2ComponentInterface*)>;
    using CreateCodec2FactoryFunc = C2ComponentFactory* (*)();
    using DestroyCodec2FactoryFunc = void (*)(C2ComponentFactory*);

    virtual ~C2ComponentFactory() = default;

    // The deleter is called for what was made, in place of delete.
    virtual c2_status_t createComponent(
        c2_node_id_t id, std::shared_ptr<C2Component>* const component,
        ComponentDeleter deleter = std::default_delete<C2Component>()) = 0;
    virtual c2_status_t createInterface(
        c2_node_id_t id, std::shared_ptr<C2ComponentInterface>* const interface,
        InterfaceDeleter deleter = std::default_delete<C2ComponentInterface>()) = 0;
};
