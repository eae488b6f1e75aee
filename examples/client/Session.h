// What the program does with a component.
#pragma once

#include <C2Config.h>
#include <lx2host/Client.h>
#include <lx2host/ComponentLoader.h>

#include <memory>
#include <string>

#include "Options.h"
#include "Parameters.h"
#include "Report.h"

namespace lx2::example {

// Decodes the file that the options name. True unless the file or the component can't be used at
// all; then *error says why in one line.
bool Decode(const Options& options, Parameters* parameters, host::Client* client, Report* report,
            std::string* error);

// Encodes what the file shows.
bool Encode(const Options& options, Parameters* parameters, host::Client* client, Report* report,
            std::string* error);

// Runs the checks of the component and prints a line for each. The status to exit with.
int Check(const Options& options, const std::shared_ptr<host::ComponentLibrary>& library,
          std::string* error);

// Names a media type to the component.
template <typename MediaType>
void SetMediaType(host::Client* client, const std::string& name) {
    const auto param = MediaType::AllocUnique(name.size() + 1);
    name.copy(param->m.value, name.size());
    param->m.value[name.size()] = '\0';
    client->config({param.get()});
}

// A sample of the project.
std::string SamplePath(const char* name);

}  // namespace lx2::example
