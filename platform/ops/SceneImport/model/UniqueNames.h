#ifndef SCENEIMPORT_UNIQUENAMES_H
#define SCENEIMPORT_UNIQUENAMES_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace TellarSceneImport {

/// Gives the locations of one parent names that are safe in a path and differ from each
/// other. The same requests in the same order give the same names.
class UniqueNames {
public:
    /// Returns `wanted`, or `fallback` when that is empty, with "/" and control characters replaced
    /// by "_". If the name is taken, "_2", "_3" and so on is appended.
    std::string add(std::string_view wanted, std::string_view fallback);

private:
    std::unordered_set<std::string> taken;
    std::unordered_map<std::string, unsigned> lastNumbers; // for names requested more than once
};

} // namespace TellarSceneImport

#endif
