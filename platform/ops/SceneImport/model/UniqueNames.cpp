#include "UniqueNames.h"

#include <algorithm>

namespace TellarSceneImport {

namespace {

bool IsUnsafe(char c) {
    return c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

} // namespace

std::string UniqueNames::add(std::string_view wanted, std::string_view fallback) {
    std::string base(wanted.empty() ? fallback : wanted);
    std::replace_if(base.begin(), base.end(), IsUnsafe, '_');
    // These two have a meaning in paths.
    if (base == "." || base == "..") std::replace(base.begin(), base.end(), '.', '_');
    if (taken.insert(base).second) return base;
    unsigned& number = lastNumbers.emplace(base, 1).first->second;
    for (;;) {
        std::string name = base + "_" + std::to_string(++number);
        if (taken.insert(name).second) return name;
    }
}

} // namespace TellarSceneImport
