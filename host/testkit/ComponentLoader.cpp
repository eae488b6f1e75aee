#include <C2Config.h>
#include <dlfcn.h>
#include <lx2host/ComponentLoader.h>

#include <cstring>
#include <filesystem>

namespace lx2::host {

namespace {

constexpr c2_node_id_t kNode = 1;

std::string LastError() {
    const char* text = dlerror();
    return text == nullptr ? "unknown error" : text;
}

}  // namespace

std::shared_ptr<ComponentLibrary> ComponentLibrary::Open(const std::string& path,
                                                         std::string* error) {
    std::error_code none;
    // A plain name would be looked for in the loader's path only.
    const std::string name =
        std::filesystem::exists(path, none) ? std::filesystem::absolute(path, none).string() : path;
    std::shared_ptr<ComponentLibrary> library(new ComponentLibrary);
    // Its code stays to the end of the process: a weak reference to a component or a buffer leads
    // into it even when the object is gone.
    library->mLibrary = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library->mLibrary == nullptr) {
        *error = LastError();
        return nullptr;
    }
    const auto create = reinterpret_cast<C2ComponentFactory::CreateCodec2FactoryFunc>(
        dlsym(library->mLibrary, "CreateCodec2Factory"));
    library->mDestroy = reinterpret_cast<C2ComponentFactory::DestroyCodec2FactoryFunc>(
        dlsym(library->mLibrary, "DestroyCodec2Factory"));
    if (create == nullptr || library->mDestroy == nullptr) {
        *error = path + ": exports no CreateCodec2Factory and DestroyCodec2Factory";
        return nullptr;
    }
    library->mFactory = create();
    if (library->mFactory == nullptr) {
        *error = path + ": CreateCodec2Factory gives no factory";
        return nullptr;
    }
    return library;
}

ComponentLibrary::~ComponentLibrary() {
    if (mFactory != nullptr)
        mDestroy(mFactory);
    if (mLibrary != nullptr)
        dlclose(mLibrary);
}

std::shared_ptr<C2Component> ComponentLibrary::createComponent() {
    std::shared_ptr<C2Component> component;
    const c2_status_t status = mFactory->createComponent(
        kNode, &component, [library = shared_from_this()](C2Component* made) { delete made; });
    return status == C2_OK ? component : nullptr;
}

std::shared_ptr<C2ComponentInterface> ComponentLibrary::createInterface() {
    std::shared_ptr<C2ComponentInterface> interface;
    const c2_status_t status = mFactory->createInterface(
        kNode, &interface,
        [library = shared_from_this()](C2ComponentInterface* made) { delete made; });
    return status == C2_OK ? interface : nullptr;
}

namespace {

template <typename MediaType>
std::string Read(const C2ComponentInterface& component) {
    std::vector<std::unique_ptr<C2Param>> params;
    component.query_vb({}, {uint32_t{MediaType::PARAM_TYPE}}, C2_MAY_BLOCK, &params);
    const auto* type = params.empty() ? nullptr : MediaType::From(params.front().get());
    return type == nullptr ? ""
                           : std::string(type->m.value, strnlen(type->m.value, type->flexCount()));
}

}  // namespace

std::string MediaTypeOf(const C2ComponentInterface& component, bool output) {
    return output ? Read<C2PortMediaTypeSetting::output>(component)
                  : Read<C2PortMediaTypeSetting::input>(component);
}

}  // namespace lx2::host
