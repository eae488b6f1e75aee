// Loads the library of a component as a framework does: it exports CreateCodec2Factory and
// DestroyCodec2Factory (<C2ComponentFactory.h>). In lx2::testkit (-llx2testkit):
//
//     std::string error;
//     const auto library = lx2::host::ComponentLibrary::Open("libmycomponent.so", &error);
//     const auto component = library->createComponent();
//
// Safe to use from several threads, as far as the component's own factory is.
#pragma once

#include <C2ComponentFactory.h>

#include <memory>
#include <string>

namespace lx2::host {

class ComponentLibrary : public std::enable_shared_from_this<ComponentLibrary> {
  public:
    // path names a file, or a library in the loader's path. Null, with one line in *error, when it
    // can't be opened, exports no factory, or makes none.
    static std::shared_ptr<ComponentLibrary> Open(const std::string& path, std::string* error);
    ~ComponentLibrary();

    ComponentLibrary(const ComponentLibrary&) = delete;
    ComponentLibrary& operator=(const ComponentLibrary&) = delete;

    // Null when the factory refuses. Each object keeps the factory.
    std::shared_ptr<C2Component> createComponent();
    std::shared_ptr<C2ComponentInterface> createInterface();

  private:
    ComponentLibrary() = default;

    void* mLibrary = nullptr;
    C2ComponentFactory* mFactory = nullptr;
    C2ComponentFactory::DestroyCodec2FactoryFunc mDestroy = nullptr;
};

// The media type of a component's input or output; empty when it says none.
std::string MediaTypeOf(const C2ComponentInterface& component, bool output = false);

}  // namespace lx2::host
