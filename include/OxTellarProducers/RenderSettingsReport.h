#ifndef OXTELLARPRODUCERS_RENDERSETTINGSREPORT_H
#define OXTELLARPRODUCERS_RENDERSETTINGSREPORT_H

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

// The render settings that are known, and what a scene tells renderers by them. Settings are the
// members of "renderSettings" of a scene's root, and have dotted names below it, such as
// "lantern.maxDepth".

/// The values that a render setting takes.
enum class RenderSettingType {
    Text,        ///< one string
    Texts,       ///< strings, any number of them
    Number,      ///< one finite number of any numeric type
    WholeNumber, ///< one number of any numeric type without a fraction
    Numbers,     ///< finite numbers of any numeric type
    Integers     ///< values of the attribute type int
};

/// "text", "texts", "number", "whole number", "numbers" or "integers".
TELLAR_API const char* NameOf(RenderSettingType type) noexcept;

/// A render setting that the library or its own renderer reads.
struct KnownRenderSetting {
    /// The dotted name. A level "*" stands for any name.
    std::string name;
    RenderSettingType type = RenderSettingType::Text;
    /// The number of values; 0 for any number.
    std::size_t count = 1;
    /// The range of a number, both ends included.
    double least = std::numeric_limits<double>::lowest();
    double most = std::numeric_limits<double>::max();
    /// Invalid when nothing stands in for a missing setting.
    OxAttribute::Attribute defaultValue;
    /// One sentence that says what the setting does.
    std::string summary;
};

/// All settings that are known, in the order in which docs/rendering.md describes them. The table
/// lives as long as the process. Threads: any.
TELLAR_API const std::vector<KnownRenderSetting>& GetKnownRenderSettings();

/// The entry for a dotted name, or null for an unknown one. Threads: any.
TELLAR_API const KnownRenderSetting* FindKnownRenderSetting(std::string_view name);

/// The known names that are like another one, the most similar first; at most three. Threads: any.
TELLAR_API std::vector<std::string> SimilarRenderSettings(std::string_view name);

/// The names that the setting "aovs" may have: the layers of a picture. Threads: any.
TELLAR_API const std::vector<std::string>& GetKnownRenderLayers();

/// A kind of mistake in a render setting.
enum class RenderSettingProblem {
    None,
    UnknownName, ///< nothing reads it
    WrongType,   ///< another type of value, or another number of values
    WrongValue   ///< a value out of range, or the name of something that there is not
};

/// The mistake in the value of a known setting, as the end of a sentence that begins with the
/// setting: "must be one number from 0 to 1, not 2". Empty if nothing is. Whether a camera exists
/// is not looked at.
struct RenderSettingDefect {
    RenderSettingProblem problem = RenderSettingProblem::None;
    std::string text;
};
TELLAR_API RenderSettingDefect FindDefect(const KnownRenderSetting& setting,
                                          const OxAttribute::Attribute& value);

/// A value that takes the place of a scene's.
struct RenderSettingOverride {
    std::string name; ///< the dotted name
    OxAttribute::Attribute value;
    std::string source; ///< who sets it, such as "--set"
};

/// Who told a value.
enum class RenderSettingOrigin { Default, Location, Override };

/// One render setting of a scene.
struct RenderSettingFacts {
    std::string name; ///< dotted
    /// The value that renderers are told, or the default. Invalid when the setting is missing and
    /// nothing stands in for it.
    OxAttribute::Attribute value;
    RenderSettingOrigin origin = RenderSettingOrigin::Default;
    /// The path of the location, or the source of the override. Empty for a default.
    std::string source;
    /// The scene's value, of which an override takes the place. Invalid if there is none.
    OxAttribute::Attribute replaced;
    /// Lives as long as the process; null for an unknown setting.
    const KnownRenderSetting* known = nullptr;
    /// An unknown setting is no problem in a group that is not known either, such as "echo.depth",
    /// unless its name is like a known one: renderers have settings in groups of their names.
    RenderSettingProblem problem = RenderSettingProblem::None;
    /// The end of a sentence that begins with the setting; empty without a problem.
    std::string problemText;
    /// Known names that are like an unknown one, the most similar first; at most three.
    std::vector<std::string> similar;
};

/// Every render setting of a scene: the known ones, those with "*" only where the scene has them,
/// and then the others in their order. `root` is "/root"; a null one has no settings. Overrides are
/// merged into the scene's settings in their order, as the op type RenderSettings does.
///
/// A camera that is set is looked up, which cooks it. An error of that is the setting's problem.
/// Throws what reading the attributes of `root` throws.
///
/// Threads: as for reading `root`.
[[nodiscard]] TELLAR_API std::vector<RenderSettingFacts>
ReportRenderSettings(const GeometryProducer::Ptr& root,
                     const std::vector<RenderSettingOverride>& overrides = {});

} // namespace TELLAR

#endif
