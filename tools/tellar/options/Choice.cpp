#include "Choice.h"

#include <algorithm>

#include "text/SimilarNames.h"

namespace TellarTool {

CLI::Validator Choice(const std::vector<std::string>& names) {
    const std::string list = '{' + CLI::detail::join(names, ",") + '}';
    const auto check = [names, list](const std::string& name) -> std::string {
        if (std::find(names.begin(), names.end(), name) != names.end()) return {};
        return name + " not in " + list + TellarInternal::DidYouMean(names, name);
    };
    return {check, list};
}

} // namespace TellarTool
