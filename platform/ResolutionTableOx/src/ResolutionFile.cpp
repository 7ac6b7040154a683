#include "ResolutionFile.h"

#include <cmath>
#include <map>
#include <stdexcept>
#include <unordered_set>

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "ResolutionRules.h"
#include "text/NumberText.h"
#include "text/TextPlace.h"

namespace {

// Turns the parser's events into formats, and throws at events that do not belong in a table. It
// accepts at most two nested objects, which bounds how often the parser calls itself.
class FormatCollector : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, FormatCollector> {
public:
    bool StartObject() {
        if (level == Level::member) refuse("an object");
        level = level == Level::file ? Level::formats : Level::member;
        return true;
    }
    bool Key(const char* text, rapidjson::SizeType size, bool) {
        return level == Level::formats ? startFormat({text, size}) : startMember({text, size});
    }
    bool RawNumber(const char* text, rapidjson::SizeType size, bool) {
        if (level != Level::member) refuse(shortened({text, size}));
        return setMember({text, size});
    }
    bool EndObject(rapidjson::SizeType) {
        if (level == Level::formats) return true;
        level = Level::formats;
        return endFormat();
    }

    bool String(const char* text, rapidjson::SizeType size, bool) {
        refuse(QuotedForMessage({text, size}));
    }
    bool Bool(bool value) { refuse(value ? "true" : "false"); }
    bool Null() { refuse("null"); }
    bool StartArray() { refuse("an array"); }

    /// The beginning of a message about a syntax error: the format that contains it, if any.
    std::string context() const {
        return level == Level::member ? QuotedForMessage(name) + ": " : std::string();
    }

    std::vector<ResolutionTableEntry> formats;

private:
    // The values that come next: the object of the file, formats, or members of a format.
    enum class Level { file, formats, member };

    static std::string shortened(std::string_view number) {
        constexpr std::size_t kShownSize = 32;
        std::string shown(number.substr(0, kShownSize));
        if (number.size() > kShownSize) shown += "...";
        return shown;
    }

    [[noreturn]] void refuse(const std::string& value) const {
        if (level == Level::file)
            throw std::runtime_error("the file holds " + value +
                                     "; it must be an object of formats");
        if (level == Level::formats)
            throw std::runtime_error(QuotedForMessage(name) + " is " + value +
                                     "; it must be an object with width and height");
        RefuseFormatMember(name, member, value);
    }

    bool startFormat(std::string_view key) {
        CheckFormatName(key);
        name = key;
        if (!names.insert(name).second)
            throw std::runtime_error(QuotedForMessage(name) + " stands twice in the file");
        values.clear();
        return true;
    }

    bool startMember(std::string_view key) {
        member = key;
        if (key != "width" && key != "height" && key != "pixelAspect")
            throw std::runtime_error(QuotedForMessage(name) + ": there is no member " +
                                     QuotedForMessage(key) +
                                     "; there are width, height and pixelAspect");
        if (values.count(member) != 0)
            throw std::runtime_error(QuotedForMessage(name) + ": " + member + " stands twice");
        return true;
    }

    bool setMember(std::string_view text) {
        double number = 0;
        if (!TellarInternal::ReadNumber(text, number)) refuse(shortened(text));
        if (member == "pixelAspect") {
            CheckPixelAspect(name, number);
        } else {
            const bool isInt = std::floor(number) == number && std::fabs(number) <= kLargestInt;
            if (!isInt) refuse(shortened(text));
            CheckFormatSize(name, member, static_cast<int>(number));
        }
        values[member] = number;
        return true;
    }

    bool endFormat() {
        for (const char* needed : {"width", "height"}) {
            if (values.count(needed) == 0)
                throw std::runtime_error(QuotedForMessage(name) + ": there is no " + needed);
        }
        const auto pixelAspect = values.find("pixelAspect");
        formats.emplace_back(name, static_cast<int>(values["width"]),
                             static_cast<int>(values["height"]),
                             pixelAspect != values.end() ? pixelAspect->second : 1.0);
        return true;
    }

    static constexpr double kLargestInt = 2147483647;

    Level level = Level::file;
    std::unordered_set<std::string> names;
    std::string name;                     // name of the format that is being read
    std::string member;                   // the one that is being read
    std::map<std::string, double> values; // its values, keyed by member
};

void Parse(rapidjson::MemoryStream& stream, std::size_t size, FormatCollector& collector) {
    constexpr unsigned int kFlags =
        rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag;
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, collector);
    if (result.IsError())
        throw std::runtime_error(collector.context() + rapidjson::GetParseError_En(result.Code()));
    // The parser takes a zero byte for the end of the text.
    if (stream.Tell() != size) throw std::runtime_error("a zero byte");
}

} // namespace

std::vector<ResolutionTableEntry> ParseResolutions(std::string_view text, const std::string& path) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    FormatCollector collector;
    try {
        Parse(stream, text.size(), collector);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error("resolution table \"" + path + "\", " +
                                 TellarInternal::LineAndColumn(text, stream.Tell()) + ": " +
                                 error.what());
    }
    return std::move(collector.formats);
}
