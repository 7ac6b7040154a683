#include <OxTellarSDK/Attribute.h>

#include <algorithm>
#include <numeric>

#include "AttributeKinds.h"
#include "XmlTags.h"
#include "text/MessageText.h"
#include "text/NumberText.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// Reads the text that Attribute::getXML writes. White space between tags and numbers is free;
/// everything else has one form. Memory grows with the text alone.
class XmlReader {
public:
    explicit XmlReader(std::string_view text) : tags(text) {}

    Attribute read() {
        for (;;) {
            tags.skipSpace();
            Attribute attribute;
            std::string name;
            std::size_t namePlace = tags.place();
            if (tags.startsWith("</")) {
                attribute = closeGroup(name, namePlace);
            } else {
                XmlTag tag = tags.readTag();
                namePlace = tag.place;
                name = takeChildName(tag);
                if (tag.name == "group" && !tag.isEmpty) {
                    openGroup(tag, std::move(name));
                    continue;
                }
                attribute = readElement(tag);
            }
            if (open.empty()) return finish(attribute);
            open.back().children.emplace_back(std::move(name), std::move(attribute));
            open.back().places.push_back(namePlace);
        }
    }

private:
    struct Level {
        std::string name;
        std::size_t place;
        bool inherit;
        std::vector<GroupAttribute::Child> children;
        std::vector<std::size_t> places; // offsets of the children's tags
    };

    Attribute finish(const Attribute& attribute) {
        tags.skipSpace();
        if (!tags.isAtEnd()) tags.failHere("text after the end of the attribute");
        return attribute;
    }

    // ---- fields ----

    /// Children of groups have names; the outermost element has none.
    std::string takeChildName(XmlTag& tag) {
        if (open.empty()) return {};
        const auto name = tag.take("name");
        if (!name) tags.fail(tag.place, "a child of a group needs a name");
        return tags.unescape(*name);
    }

    std::int64_t takeTupleSize(XmlTag& tag) {
        const auto field = tag.take("tuple");
        if (!field) return 1;
        std::int64_t size = 0;
        if (!ReadNumber(*field, size) || size < 1)
            tags.fail(tags.placeOf(*field), "a tuple size must be 1 or more");
        return size;
    }

    bool takeInherit(XmlTag& tag) {
        const auto field = tag.take("inherit");
        if (!field || *field == "true") return true;
        if (*field != "false")
            tags.fail(tags.placeOf(*field), "inherit must be \"true\" or \"false\"");
        return false;
    }

    /// Assigns the next time, which must be later than the others.
    void takeTime(XmlTag& tag, std::vector<float>& times) {
        const auto text = tag.take("time");
        if (!text) tags.fail(tag.place, "a sample needs a time");
        tags.checkFields(tag);
        float time = 0.0f;
        if (!ReadExactNumber(*text, time))
            tags.fail(tags.placeOf(*text), Quoted(*text) + " is not a time");
        if (!times.empty() && !(times.back() < time))
            tags.fail(tags.placeOf(*text), "times must ascend");
        times.push_back(time);
    }

    // ---- groups ----

    void checkDepth(const XmlTag& tag) const {
        if (open.size() >= static_cast<std::size_t>(kMaxGroupDepth))
            tags.fail(tag.place, "groups are nested deeper than " + std::to_string(kMaxGroupDepth) +
                                     " levels");
    }

    bool readGroupTag(XmlTag& tag) {
        checkDepth(tag);
        const bool inherit = takeInherit(tag);
        tags.checkFields(tag);
        return inherit;
    }

    void openGroup(XmlTag& tag, std::string name) {
        const bool inherit = readGroupTag(tag);
        open.push_back({std::move(name), tag.place, inherit, {}, {}});
    }

    Attribute closeGroup(std::string& name, std::size_t& namePlace) {
        if (open.empty()) tags.failHere("expected an attribute");
        tags.expect("</group>");
        Level level = std::move(open.back());
        open.pop_back();
        name = std::move(level.name);
        namePlace = level.place;
        GroupAttribute group(level.children, level.inherit);
        if (static_cast<std::size_t>(group.getNumberOfChildren()) != level.children.size())
            failForRepeatedName(level);
        return group;
    }

    [[noreturn]] void failForRepeatedName(const Level& level) const {
        std::vector<std::size_t> order(level.children.size());
        std::iota(order.begin(), order.end(), 0);
        const auto nameOf = [&](std::size_t i) {
            return std::string_view(level.children[i].first);
        };
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return nameOf(a) < nameOf(b); });
        const auto first =
            std::adjacent_find(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
                return nameOf(a) == nameOf(b);
            });
        const std::size_t repeated = *std::next(first);
        tags.fail(level.places[repeated], "a second child named " + Quoted(nameOf(repeated)));
    }

    // ---- values ----

    Attribute readElement(XmlTag& tag) {
        if (tag.name == "int") return readData<std::int32_t>(tag);
        if (tag.name == "float") return readData<float>(tag);
        if (tag.name == "double") return readData<double>(tag);
        if (tag.name == "string") return readData<std::string>(tag);
        if (tag.name == "group") return GroupAttribute(readGroupTag(tag));
        if (tag.name != "null") tags.fail(tag.place, "unknown tag <" + std::string(tag.name) + '>');
        if (!tag.isEmpty) tags.fail(tag.place, "<null> must be empty");
        tags.checkFields(tag);
        return NullAttribute();
    }

    template <typename T>
    Attribute readData(XmlTag& tag) {
        const std::int64_t tupleSize = takeTupleSize(tag);
        tags.checkFields(tag);
        const Samples<T> samples = readSamples<T>(tag);
        try {
            return MakeAttribute(samples, tupleSize);
        } catch (const std::exception& error) {
            tags.fail(tag.place, error.what());
        }
    }

    template <typename T>
    Samples<T> readSamples(const XmlTag& tag) {
        Samples<T> samples;
        if (!tag.isEmpty) {
            tags.skipSpace();
            if (tags.startsWith("<sample"))
                while (!tags.startsWith("</"))
                    readSample(samples);
            else
                readValues(samples.values);
            tags.expect("</" + std::string(tag.name) + '>');
        }
        if (samples.times.empty()) samples.times = {0.0f};
        return samples;
    }

    template <typename T>
    void readSample(Samples<T>& samples) {
        XmlTag tag = tags.readTag();
        if (tag.name != "sample") tags.fail(tag.place, "expected <sample>");
        takeTime(tag, samples.times);
        const std::size_t before = samples.values.size();
        if (!tag.isEmpty) {
            readValues(samples.values);
            tags.expect("</sample>");
        }
        const std::size_t count = samples.values.size() - before;
        const std::size_t earlierSamples = samples.times.size() - 1;
        if (count * earlierSamples != before)
            tags.fail(tag.place, "a sample of " + std::to_string(count) + " values after one of " +
                                     std::to_string(before / earlierSamples));
        tags.skipSpace();
    }

    template <typename T>
    void readValues(std::vector<T>& values) {
        for (;;) {
            tags.skipSpace();
            const std::size_t start = tags.place();
            const std::string_view word = tags.readWord();
            if (word.empty()) return;
            T value{};
            if (!ReadExactNumber(word, value)) tags.fail(start, notANumber<T>(word));
            values.push_back(value);
        }
    }

    template <typename T>
    static std::string notANumber(std::string_view word) {
        constexpr std::size_t kShown = 40;
        const std::string shown(word.substr(0, kShown));
        return Quoted(word.size() > kShown ? shown + "..." : shown) + " is not " + NumberKind<T>();
    }

    void readValues(std::vector<std::string>& values) {
        for (;;) {
            tags.skipSpace();
            if (tags.startsWith("</") || tags.isAtEnd()) return;
            tags.expect("<v>");
            values.push_back(tags.unescape(tags.readText("expected \"</v>\"")));
            tags.expect("</v>");
        }
    }

    XmlTags tags;
    std::vector<Level> open;
};

} // namespace

Attribute ParseAttributeXml(std::string_view text) {
    return XmlReader(text).read();
}

} // namespace OxAttribute
