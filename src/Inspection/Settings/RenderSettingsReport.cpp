#include <OxTellarProducers/RenderSettingsReport.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <new>
#include <utility>

#include <OxTellarSDK/GroupBuilder.h>

#include "RenderSettings.h"
#include "text/NumberText.h"
#include "text/SimilarNames.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Problem = RenderSettingProblem;

constexpr const char* kSettings = "renderSettings";
constexpr const char* kNoGroup = "must be a group of settings";

// Values ------------------------------------------------------------------------------------------

template <typename Numbers>
std::vector<double> Doubles(const Numbers& attribute) {
    const auto sample = attribute.getNearestSample(0.0f);
    return {sample.begin(), sample.end()};
}

bool IsNumeric(const Attribute& value) {
    const AttributeType type = value.getType();
    return type == kAttributeTypeInt || type == kAttributeTypeFloat || type == kAttributeTypeDouble;
}

/// Requires a numeric attribute.
std::vector<double> NumbersOf(const Attribute& value) {
    if (value.getType() == kAttributeTypeInt) return Doubles(IntAttribute(value));
    if (value.getType() == kAttributeTypeFloat) return Doubles(FloatAttribute(value));
    return Doubles(DoubleAttribute(value));
}

/// Whole numbers without an exponent, as people write them.
std::string NumberText(double number) {
    constexpr double kMostDigits = 1e15;
    if (number == std::floor(number) && std::abs(number) < kMostDigits)
        return std::to_string(static_cast<std::int64_t>(number));
    std::string text;
    TellarInternal::AppendNumber(text, number);
    return text;
}

/// "one ", "4 ", or nothing for any number.
std::string CountText(std::size_t count) {
    if (count == 0) return {};
    return (count == 1 ? "one" : std::to_string(count)) + ' ';
}

/// 0 for a value without a type that settings have.
std::size_t CountOf(const Attribute& value) {
    if (value.getType() == kAttributeTypeString)
        return static_cast<std::size_t>(StringAttribute(value).getNumberOfValues());
    return IsNumeric(value) ? NumbersOf(value).size() : 0;
}

std::string RangeText(const KnownRenderSetting& setting) {
    const bool hasRange = setting.most < std::numeric_limits<double>::max();
    return hasRange ? " from " + NumberText(setting.least) + " to " + NumberText(setting.most)
                    : std::string();
}

/// "must be one whole number from 1 to 100".
std::string Demand(const KnownRenderSetting& setting) {
    const auto noun = [&setting]() -> std::string {
        switch (setting.type) {
        case RenderSettingType::Text:
            return "string";
        case RenderSettingType::Texts:
            return "strings";
        case RenderSettingType::Number:
            return "finite number";
        case RenderSettingType::Numbers:
            return "finite numbers";
        default:
            return NameOf(setting.type);
        }
    };
    return "must be " + CountText(setting.count) + noun() + RangeText(setting);
}

bool HasWantedType(const KnownRenderSetting& setting, const Attribute& value) {
    switch (setting.type) {
    case RenderSettingType::Text:
    case RenderSettingType::Texts:
        return value.getType() == kAttributeTypeString;
    case RenderSettingType::Integers:
        return value.getType() == kAttributeTypeInt;
    default:
        return IsNumeric(value);
    }
}

RenderSettingDefect NumberDefect(const KnownRenderSetting& setting,
                                 const std::vector<double>& numbers) {
    for (const double number : numbers) {
        const bool isWhole =
            setting.type != RenderSettingType::WholeNumber || number == std::floor(number);
        const bool isFloat =
            std::abs(number) <= static_cast<double>(std::numeric_limits<float>::max());
        if (!isWhole || !isFloat || number < setting.least || number > setting.most)
            return {Problem::WrongValue, Demand(setting) + ", not " + NumberText(number)};
    }
    return {};
}

RenderSettingDefect ResolutionDefect(const std::string& name) {
    try {
        LookUpResolution(name, "renderSettings.resolution");
        return {};
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return {Problem::WrongValue, "names \"" + name + "\", which is no resolution"};
    }
}

/// Looks at each of the names between the commas.
RenderSettingDefect LayersDefect(std::string_view names) {
    const std::vector<std::string>& known = GetKnownRenderLayers();
    for (std::size_t comma = 0; comma != std::string_view::npos;) {
        comma = names.find(',');
        const std::string_view name = names.substr(0, comma);
        if (!name.empty() && std::find(known.begin(), known.end(), name) == known.end())
            return {Problem::WrongValue, "has \"" + std::string(name) + "\", which is no layer" +
                                             TellarInternal::DidYouMean(known, name)};
        if (comma != std::string_view::npos) names.remove_prefix(comma + 1);
    }
    return {};
}

RenderSettingDefect TextDefect(const KnownRenderSetting& setting, const StringAttribute& value) {
    if (setting.name == "resolution") return ResolutionDefect(value.getValue("", false));
    if (setting.name != "aovs") return {};
    for (const std::string_view names : value.getNearestSample(0.0f))
        if (RenderSettingDefect defect = LayersDefect(names); !defect.text.empty()) return defect;
    return {};
}

/// Requires four values.
RenderSettingDefect TileDefect(const IntAttribute& value) {
    const auto tile = value.getNearestSample(0.0f);
    if (tile[0] >= 0 && tile[0] < tile[2] && tile[1] >= 0 && tile[1] < tile[3]) return {};
    return {Problem::WrongValue, "is no tile: its column and row count from 0 and must be less "
                                 "than the numbers of columns and rows"};
}

// Settings ----------------------------------------------------------------------------------------

/// Whether the names of known settings begin with this one and a dot.
bool IsKnownGroup(const std::string& name) {
    const std::string start = name + '.';
    const auto& table = GetKnownRenderSettings();
    return std::any_of(table.begin(), table.end(), [&start](const KnownRenderSetting& setting) {
        return setting.name.compare(0, start.size(), start) == 0;
    });
}

/// Renderers have settings in groups of their names.
bool IsOfAnotherRenderer(const std::string& name) {
    const std::size_t dot = name.find('.');
    return dot != std::string::npos && !IsKnownGroup(name.substr(0, dot));
}

/// A setting as it is told: a value that is no group, or whatever a known setting has.
struct ToldSetting {
    std::string name;
    Attribute value;
    bool hasPath = true; // false when a level has dots in its own name, so that no path leads there
};

void CollectSettings(const GroupAttribute& group, const std::string& start, bool hasPath,
                     std::vector<ToldSetting>& found) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        const std::string level = group.getChildName(i);
        ToldSetting setting{start + level, group.getChildByIndex(i),
                            hasPath && level.find('.') == std::string::npos};
        const bool isKnown = setting.hasPath && FindKnownRenderSetting(setting.name);
        if (setting.value.getType() == kAttributeTypeGroup && !isKnown)
            CollectSettings(setting.value, setting.name + '.', setting.hasPath, found);
        else
            found.push_back(std::move(setting));
    }
}

/// True for the settings that are reported whether or not a scene has them.
bool IsAlwaysReported(const KnownRenderSetting& setting) {
    return setting.name.find('*') == std::string::npos;
}

/// Collects the settings of one scene.
class Report {
public:
    Report(const GeometryProducer::Ptr& root, const std::vector<RenderSettingOverride>& overrides)
        : root(root), overrides(overrides),
          told(root ? root->getAttribute(kSettings) : Attribute()), own(told),
          all(WithOverrides(own, overrides)) {}

    std::vector<RenderSettingFacts> make() {
        for (const KnownRenderSetting& setting : GetKnownRenderSettings())
            if (IsAlwaysReported(setting)) addKnown(setting);
        if (told.isValid() && !own.isValid()) addNoGroup();
        std::vector<ToldSetting> settings;
        CollectSettings(all, "", true, settings);
        for (const ToldSetting& setting : settings) {
            const auto* const known = FindKnownRenderSetting(setting.name);
            if (!setting.hasPath || !known || !IsAlwaysReported(*known)) addTold(setting);
        }
        return std::move(facts);
    }

private:
    static GroupAttribute WithOverrides(const GroupAttribute& settings,
                                        const std::vector<RenderSettingOverride>& overrides) {
        GroupBuilder builder;
        if (settings.isValid()) builder.update(settings);
        for (const RenderSettingOverride& override : overrides)
            builder.set(override.name, override.value);
        return builder.build();
    }

    void addKnown(const KnownRenderSetting& setting) {
        const Attribute value = all.getChildByName(setting.name);
        if (value.isValid()) return addTold({setting.name, value});
        RenderSettingFacts added;
        added.name = setting.name;
        added.value = setting.defaultValue;
        added.known = &setting;
        facts.push_back(std::move(added));
    }

    void addTold(const ToldSetting& setting) {
        RenderSettingFacts added;
        added.name = setting.name;
        added.value = setting.value;
        findOrigin(added);
        if (setting.hasPath)
            judge(added);
        else
            setProblem(added, Problem::UnknownName,
                       "cannot be found, because its name has a dot: put it into a group");
        facts.push_back(std::move(added));
    }

    void addNoGroup() {
        RenderSettingFacts added;
        added.name = kSettings;
        added.value = told;
        added.origin = RenderSettingOrigin::Location;
        added.source = root->getFullName();
        setProblem(added, Problem::WrongType, kNoGroup);
        facts.push_back(std::move(added));
    }

    /// The last override of a name counts.
    void findOrigin(RenderSettingFacts& added) const {
        const auto found =
            std::find_if(overrides.rbegin(), overrides.rend(),
                         [&added](const auto& override) { return override.name == added.name; });
        const bool isOverride = found != overrides.rend();
        added.origin = isOverride ? RenderSettingOrigin::Override : RenderSettingOrigin::Location;
        added.source = isOverride ? found->source : root->getFullName();
        if (isOverride && own.isValid()) added.replaced = own.getChildByName(added.name);
    }

    static void setProblem(RenderSettingFacts& added, Problem problem, std::string text) {
        added.problem = problem;
        added.problemText = std::move(text);
    }

    void judge(RenderSettingFacts& added) const {
        added.known = FindKnownRenderSetting(added.name);
        if (!added.known) return judgeUnknown(added);
        RenderSettingDefect defect = FindDefect(*added.known, added.value);
        if (defect.text.empty() && added.name == "cameraName") defect = cameraDefect(added.value);
        if (defect.text.empty() && added.name == "shutterClose") defect = shutterDefect();
        setProblem(added, defect.problem, std::move(defect.text));
    }

    static void judgeUnknown(RenderSettingFacts& added) {
        if (IsKnownGroup(added.name)) return setProblem(added, Problem::WrongType, kNoGroup);
        added.similar = SimilarRenderSettings(added.name);
        if (added.similar.empty() && IsOfAnotherRenderer(added.name)) return;
        setProblem(added, Problem::UnknownName,
                   "is not known" + TellarInternal::MeantQuestion(added.similar));
    }

    RenderSettingDefect cameraDefect(const StringAttribute& value) const {
        if (!root) return {};
        const std::string path = value.getValue("", false);
        try {
            const GeometryProducer::Ptr camera =
                path.empty() ? nullptr : root->getProducerByPath(path);
            if (!camera)
                return {Problem::WrongValue, "names \"" + path + "\", where there is no location"};
            const StringAttribute type(camera->getAttribute("type"));
            if (type.getValueView() == "camera") return {};
            return {Problem::WrongValue, "names \"" + path + "\", which is no camera"};
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            return {Problem::WrongValue,
                    "names \"" + path + "\", which cannot be cooked: " + error.what()};
        }
    }

    RenderSettingDefect shutterDefect() const {
        const auto timeOf = [this](const char* name) {
            const Attribute value = all.getChildByName(name);
            const auto numbers = IsNumeric(value) ? NumbersOf(value) : std::vector<double>();
            return numbers.empty() ? 0 : numbers.front();
        };
        const double open = timeOf("shutterOpen");
        const double close = timeOf("shutterClose");
        if (!(close < open)) return {};
        return {Problem::WrongValue, "must not be less than \"shutterOpen\", which is " +
                                         NumberText(open) + ", not " + NumberText(close)};
    }

    const GeometryProducer::Ptr& root;
    const std::vector<RenderSettingOverride>& overrides;
    const Attribute told;     // what the root has by the name of the settings
    const GroupAttribute own; // the same if it is a group
    const GroupAttribute all; // with the overrides
    std::vector<RenderSettingFacts> facts;
};

} // namespace

RenderSettingDefect FindDefect(const KnownRenderSetting& setting, const Attribute& value) {
    const bool hasWantedCount = setting.count == 0 || CountOf(value) == setting.count;
    if (!hasWantedCount || !HasWantedType(setting, value))
        return {Problem::WrongType, Demand(setting)};
    if (value.getType() == kAttributeTypeString) return TextDefect(setting, value);
    if (setting.name == "tileRender") return TileDefect(value);
    return NumberDefect(setting, NumbersOf(value));
}

std::vector<RenderSettingFacts>
ReportRenderSettings(const GeometryProducer::Ptr& root,
                     const std::vector<RenderSettingOverride>& overrides) {
    return Report(root, overrides).make();
}

} // namespace TELLAR
