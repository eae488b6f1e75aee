#include "Arguments.h"

#include "Session.h"

namespace lx2::example {

namespace {

std::vector<Option> CommonOptions(CommonSettings* settings) {
    const auto flag = [](bool* place) {
        return [place](const std::string&) {
            *place = true;
            return std::string();
        };
    };
    return {
        {"--params", false, flag(&settings->listParameters)},
        {"--verbose", false, flag(&settings->verbose)},
        {"--help", false, flag(&settings->help)},
        {"-h", false, flag(&settings->help)},
        {"--set", true,
         [settings](const std::string& value) {
             settings->parameters.push_back(value);
             return std::string();
         }},
        {"--out", true,
         [settings](const std::string& value) {
             settings->out = value;
             return CheckFolderName(value);
         }},
    };
}

std::string TakeFile(const std::string& name, CommonSettings* settings) {
    if (name.empty())
        return "the name of FILE is empty";
    if (name[0] == '-')
        return "unknown option " + name;
    if (!settings->input.empty())
        return "one FILE at a time, not " + settings->input + " and " + name;
    settings->input = name;
    return "";
}

}  // namespace

std::string ParseOptions(int argc, char** argv, const std::vector<Option>& options,
                         CommonSettings* settings) {
    std::vector<Option> all = CommonOptions(settings);
    all.insert(all.end(), options.begin(), options.end());
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const Option* option = nullptr;
        for (const Option& each : all) {
            if (argument == each.name)
                option = &each;
        }
        std::string problem;
        if (option == nullptr)
            problem = TakeFile(argument, settings);
        else if (option->hasValue && i + 1 == argc)
            problem = argument + " needs a value";
        else
            problem = option->take(option->hasValue ? argv[++i] : "");
        if (!problem.empty())
            return problem;
    }
    return "";
}

}  // namespace lx2::example
