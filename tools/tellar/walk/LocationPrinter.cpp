#include "LocationPrinter.h"

#include <algorithm>

#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/XFormUtil.h>

#include "AttributeText.h"
#include "JsonText.h"
#include "PrintableText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

struct Glyphs {
    const char* branch;
    const char* lastBranch;
    const char* bar;
    const char* gap;
};

constexpr Glyphs kUtf8Glyphs = {"├─ ", "└─ ", "│  ", "   "};
constexpr Glyphs kAsciiGlyphs = {"|- ", "`- ", "|  ", "   "};

struct Colours {
    const char* name;
    const char* type;
    const char* attribute;
    const char* end;
};

constexpr Colours kTerminalColours = {"\x1b[1m", "\x1b[36m", "\x1b[32m", "\x1b[0m"};
constexpr Colours kNoColours = {"", "", "", ""};

class TreePrinter final : public LocationPrinter {
public:
    explicit TreePrinter(const PrintOptions& options)
        : options(options), glyphs(options.utf8 ? kUtf8Glyphs : kAsciiGlyphs),
          colours(options.colours ? kTerminalColours : kNoColours) {}

    void open(const Visit& visit, std::string& out) const override {
        appendMargin(visit, out);
        const bool isStart = visit.depth() == 0;
        if (!isStart) out += visit.isLast.back() ? glyphs.lastBranch : glyphs.branch;
        appendColoured(out, colours.name,
                       isStart ? visit.location.getFullName() : visit.location.getName());
        const std::string type = visit.location.getType();
        if (!type.empty()) {
            out += ' ';
            appendColoured(out, colours.type, "[" + type + "]");
        }
        out += '\n';
        if (options.attributes) appendAttributes(visit, out);
        if (options.worldMatrix) appendWorldMatrix(visit, out);
    }

    void close(const Visit&, std::string&) const override {}

private:
    const PrintOptions options;
    const Glyphs glyphs;
    const Colours colours;

    void appendColoured(std::string& out, const char* colour, const std::string& text) const {
        out += colour;
        AppendPrintable(out, text);
        out += colours.end;
    }

    /// Continues the branches of the ancestors.
    void appendMargin(const Visit& visit, std::string& out) const {
        for (std::size_t level = 0; level + 1 < visit.depth(); ++level)
            out += visit.isLast[level] ? glyphs.gap : glyphs.bar;
    }

    void appendDetail(const Visit& visit, std::string& out, const std::string& name,
                      const std::string& value) const {
        appendMargin(visit, out);
        if (visit.depth() > 0) out += visit.isLast.back() ? glyphs.gap : glyphs.bar;
        out += visit.hasChildren ? glyphs.bar : glyphs.gap;
        out += "  ";
        out += colours.attribute;
        out += name;
        out += colours.end;
        out += ": ";
        out += value;
        out += '\n';
    }

    void appendAttributes(const Visit& visit, std::string& out) const {
        const Attribute attribute = visit.location.getAttribute(options.attributes->c_str());
        if (!attribute.isValid()) return;
        // A location without attributes gets no line.
        const GroupAttribute all(attribute);
        if (options.attributes->empty() && all.isValid() && all.getNumberOfChildren() == 0) return;
        ForEachValue(*options.attributes, attribute,
                     [&](const std::string& name, const std::string& value) {
                         appendDetail(visit, out, name, value);
                     });
    }

    void appendWorldMatrix(const Visit& visit, std::string& out) const {
        const DoubleAttribute matrix = WorldMatrix(visit.location);
        if (matrix.isValid()) appendDetail(visit, out, "world matrix", DescribeValue(matrix));
    }
};

/// Deeper levels are indented like this one, so that the size of the text stays proportional to the
/// number of locations.
constexpr std::size_t kDeepestIndent = 32;

class JsonPrinter final : public LocationPrinter {
public:
    explicit JsonPrinter(const PrintOptions& options) : options(options) {}

    void open(const Visit& visit, std::string& out) const override {
        appendIndent(visit, out);
        out += "{\"name\": " + Json(visit.location.getName());
        out += ", \"path\": " + Json(visit.location.getFullName());
        out += ", \"type\": " + Json(visit.location.getType());
        if (options.attributes) out += ", \"attrs\": " + attributesOf(visit.location);
        if (options.worldMatrix) out += ", \"xform\": " + worldMatrixOf(visit.location);
        if (visit.isDepthLimit) return;
        out += visit.hasChildren ? ", \"children\": [\n" : ", \"children\": []";
    }

    void close(const Visit& visit, std::string& out) const override {
        if (visit.hasChildren) {
            appendIndent(visit, out);
            out += ']';
        }
        const bool isFollowed = visit.depth() > 0 && !visit.isLast.back();
        out += isFollowed ? "},\n" : "}\n";
    }

private:
    const PrintOptions options;

    static void appendIndent(const Visit& visit, std::string& out) {
        out.append(2 * std::min(visit.depth(), kDeepestIndent), ' ');
    }

    std::string attributesOf(TELLAR::GeometryProducer& location) const {
        const std::string& name = *options.attributes;
        const Attribute attribute = location.getAttribute(name.c_str());
        if (!attribute.isValid()) return "{}";
        const std::string text = WriteAttributeJson(attribute, -1);
        return name.empty() ? text : "{" + Json(name) + ": " + text + "}";
    }

    static std::string worldMatrixOf(TELLAR::GeometryProducer& location) {
        const DoubleAttribute matrix = WorldMatrix(location);
        if (!matrix.isValid()) return "null";
        const ConstSample<double> values = matrix.getNearestSample(0.0f);
        const std::vector<double> flat(values.begin(), values.end());
        return WriteAttributeJson(DoubleAttribute(flat, 1), -1);
    }
};

class QuietPrinter final : public LocationPrinter {
public:
    void open(const Visit&, std::string&) const override {}
    void close(const Visit&, std::string&) const override {}
};

} // namespace

LocationPrinter::~LocationPrinter() = default;

std::unique_ptr<LocationPrinter> MakeTreePrinter(const PrintOptions& options) {
    return std::make_unique<TreePrinter>(options);
}

std::unique_ptr<LocationPrinter> MakeJsonPrinter(const PrintOptions& options) {
    return std::make_unique<JsonPrinter>(options);
}

std::unique_ptr<LocationPrinter> MakeQuietPrinter() {
    return std::make_unique<QuietPrinter>();
}

DoubleAttribute WorldMatrix(TELLAR::GeometryProducer& location) {
    return OxXFormUtil::CalcTransformMatrixAtTime(location.getGlobalXFormGroup(), 0.0f).first;
}

} // namespace TellarTool
