#include <array>
#include <exception>
#include <utility>

#include <OxTellarSDK/Attribute.h>

#include "DifferenceParts.h"
#include "DifferencePrinter.h"
#include "PrintableText.h"
#include "ValueText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::DifferenceSummary;
using TELLAR::LocationDifference;
using TELLAR::ValueDifference;

class TextPrinter final : public DifferencePrinter {
public:
    explicit TextPrinter(ScenePair scenes) : scenes(std::move(scenes)) {}

    std::string begin() const override { return {}; }

    std::string next(const LocationDifference& difference) override {
        constexpr std::array<const char*, 4> kWords = {"removed", "added  ", "changed", "error  "};
        std::string text = std::string(kWords[difference.kind]) + ' ';
        AppendPrintable(text, difference.path);
        if (difference.below > 0)
            text += " (" +
                    Counted(static_cast<std::uint64_t>(difference.below), "location", "locations") +
                    " below)";
        text += '\n';
        if (difference.isReordered) appendDetail(text, "children in another order");
        for (const ValueDifference& value : difference.values)
            appendDetail(text, value.attribute + ": ", ValueText(value));
        appendError(text, scenes.before, difference.oldError);
        appendError(text, scenes.after, difference.newError);
        return text;
    }

    std::string end(const DifferenceSummary& summary) const override {
        if (summary.areEqual()) return "no differences\n";
        std::string text = std::to_string(summary.removed) + " removed, " +
                           std::to_string(summary.added) + " added, " +
                           std::to_string(summary.changed) + " changed";
        if (summary.failed > 0) text += ", " + Counted(summary.failed, "error", "errors");
        return text + '\n';
    }

private:
    static void appendDetail(std::string& text, const std::string& name,
                             const std::string& printable = {}) {
        text += "        ";
        AppendPrintable(text, name);
        text += printable + '\n';
    }

    static void appendError(std::string& text, const std::string& scene,
                            const std::exception_ptr& error) {
        if (error) appendDetail(text, "in " + scene + ": " + ErrorText(error));
    }

    const ScenePair scenes;
};

} // namespace

DifferencePrinter::~DifferencePrinter() = default;

std::unique_ptr<DifferencePrinter> MakeDifferenceText(ScenePair scenes) {
    return std::make_unique<TextPrinter>(std::move(scenes));
}

} // namespace TellarTool
