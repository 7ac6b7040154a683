#ifndef OXTELLARSDK_RECORDEDANSWERS_H
#define OXTELLARSDK_RECORDEDANSWERS_H

#include <exception>
#include <memory>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarRuntime.h>

/// The answers about locations as attributes, in both directions. The keys of these questions are
/// the paths of the locations.

namespace OxCapture {

constexpr std::string_view kLocation = "location";
constexpr std::string_view kSubtree = "subtree";
constexpr std::string_view kInstances = "instances";

/// Invalid for a location that does not exist.
OxAttribute::Attribute FromLocation(const TellarRuntime::LocationData& location);
OxAttribute::Attribute FromError(const std::exception_ptr& error);
/// Throws the TellarError of a location that could not be cooked.
TellarRuntime::LocationData ToLocation(const OxAttribute::Attribute& answer);

OxAttribute::Attribute FromSubtree(const OxOpType::SubtreeFacts& facts);
/// Values of a wrong type or size are not known.
OxOpType::SubtreeFacts ToSubtree(const OxAttribute::Attribute& answer);

/// Invalid for null.
OxAttribute::Attribute FromInstances(const OxOpType::Instances* instances);
/// Null for null, and when the parts do not fit together.
std::shared_ptr<const OxOpType::Instances> ToInstances(const OxAttribute::Attribute& answer);

} // namespace OxCapture

#endif
