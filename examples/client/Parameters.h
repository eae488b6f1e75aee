// A component's parameters by the names of their fields.
#pragma once

#include <C2Component.h>
#include <lx2/ReflectedParamUpdater.h>

#include <string>
#include <utility>
#include <vector>

namespace lx2::example {

class Parameters {
  public:
    // Of all components like this one.
    explicit Parameters(const C2ComponentInterface& component);

    // Sets them in the order given. Empty, or what is wrong in one line.
    std::string set(C2ComponentInterface* component,
                    const std::vector<std::pair<std::string, std::string>>& settings);

    // Prints each key with its type.
    void list() const;

  private:
    ReflectedParamUpdater mUpdater;
};

}  // namespace lx2::example
