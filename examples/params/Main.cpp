// Sets the parameters of an example component from the command line.
//
//     lx2_params --set priority.value=3 --set vendor.qp-range.min=12 --params
//
// Exit status: 0; 1 when a setting could not be applied; 2 for a command line it doesn't
// understand.
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "../common/ComponentParams.h"

int main(int argc, char** argv) {
    std::vector<std::string> settings;
    bool list = argc == 1;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--params") == 0) {
            list = true;
        } else if (strcmp(argv[i], "--set") == 0 && i + 1 < argc) {
            settings.push_back(argv[++i]);
        } else {
            std::cerr << "usage: lx2_params [--set name=value]... [--params]\n";
            return 2;
        }
    }
    lx2::example::ComponentParams params;
    const size_t applied = params.apply(settings);
    if (list)
        params.list();
    return applied == settings.size() ? 0 : 1;
}
