#ifndef SCENEIMPORT_ANIMATIONCHOICE_H
#define SCENEIMPORT_ANIMATIONCHOICE_H

#include <optional>
#include <string>
#include <vector>

namespace TellarSceneImport {

/// The argument for the first animation of a file, if there is one.
constexpr const char* kFirstAnimation = "first";

/// The index of the animation with this name, or else with this number. Nothing for "" and "none",
/// and for "first" if there are no animations. Throws std::runtime_error, which lists the
/// animations, when there is none.
std::optional<std::size_t> ChooseAnimation(const std::vector<std::string>& names,
                                           const std::string& wanted);

} // namespace TellarSceneImport

#endif
