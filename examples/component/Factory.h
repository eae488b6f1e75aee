// The factory that a component's library exports.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2ComponentFactory.h>
#include <util/C2InterfaceHelper.h>

#include <memory>

#include "Component.h"

namespace lx2::example {

// One kind of component.
struct ComponentKind {
    const char* name;
    std::shared_ptr<C2InterfaceHelper> (*makeParams)(const std::shared_ptr<C2ReflectorHelper>&);
    Component::MakeCodec makeCodec;
};

// A factory of components of this kind, for
//
//     extern "C" C2ComponentFactory* CreateCodec2Factory() { return NewFactory(kDecoder); }
//     extern "C" void DestroyCodec2Factory(C2ComponentFactory* factory) { delete factory; }
//
// The library is linked with -z nodelete: what is made in it, down to the infos of a buffer that
// the client keeps, needs its code for as long as it lives.
C2ComponentFactory* NewFactory(const ComponentKind& kind);

}  // namespace lx2::example
