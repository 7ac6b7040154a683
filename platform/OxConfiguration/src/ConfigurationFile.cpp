#include "ConfigurationFile.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "files/RegularFile.h"
#include "text/MessageText.h"
#include "text/TextPlace.h"

namespace {

using namespace TellarInternal;

// The parser calls itself for each level. The limit is far more than people write, and far less
// than fits on the stack of a thread.
constexpr std::size_t kMaximumDepth = 64;

// Configurations are written by people. A larger file is something else.
constexpr std::uint64_t kMaximumFileSize = 16 * 1024 * 1024;

// The parser accepts half of an escaped surrogate pair, which UTF-8 cannot express. Everything else
// in the text is valid UTF-8.
bool HoldsHalfOfPair(std::string_view text) {
    for (std::size_t at = text.find('\xED'); at != std::string_view::npos;
         at = text.find('\xED', at + 1))
        if (static_cast<unsigned char>(text[at + 1]) >= 0xA0) return true;
    return false;
}

// The key in quotes, on one line.
std::string InQuotes(std::string_view key) {
    std::string quoted = "\"";
    AppendOnOneLine(quoted, key);
    return quoted + '"';
}

// Receives the parser's events and collects the values of one object under dotted keys. Each event
// returns whether the parser continues; after a refusal, `reason` says why.
class ValueCollector : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ValueCollector> {
public:
    bool String(const char* text, rapidjson::SizeType length, bool) {
        if (objectKeyLengths.empty()) return refuseRoot();
        if (HoldsHalfOfPair({text, length})) return refuseHalfOfPair();
        values[key] = std::string(text, length);
        return true;
    }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool isCopy) {
        return String(text, length, isCopy);
    }
    bool Bool(bool value) { return value ? String("true", 4, true) : String("false", 5, true); }
    bool Null() { return objectKeyLengths.empty() ? refuseRoot() : refuseValue("null"); }
    bool StartArray() { return objectKeyLengths.empty() ? refuseRoot() : refuseValue("an array"); }

    bool StartObject() {
        if (objectKeyLengths.size() == kMaximumDepth) {
            reason = "Objects are nested more than " + std::to_string(kMaximumDepth) + " deep.";
            return false;
        }
        objectKeyLengths.push_back(key.size());
        return true;
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        if (HoldsHalfOfPair({text, length})) return refuseHalfOfPair();
        key.resize(objectKeyLengths.back());
        if (objectKeyLengths.size() > 1) key += '.';
        key.append(text, length);
        return true;
    }
    bool EndObject(rapidjson::SizeType) {
        objectKeyLengths.pop_back();
        return true;
    }

    ConfigurationValues values;
    std::string reason;

private:
    bool refuseRoot() {
        reason = "The file must hold one object.";
        return false;
    }
    bool refuseHalfOfPair() {
        reason = rapidjson::GetParseError_En(rapidjson::kParseErrorStringUnicodeSurrogateInvalid);
        return false;
    }
    bool refuseValue(const std::string& kind) {
        reason = "The value of " + InQuotes(key) + " is " + kind +
                 "; it must be a string, a number, a boolean or an object.";
        return false;
    }

    // The dotted key of the member being read, and for each object around it the length
    // of the object's own key.
    std::string key;
    std::vector<std::size_t> objectKeyLengths;
};

std::string ContentError(std::string_view text, std::size_t offset, const std::string& name,
                         const std::string& reason) {
    return "Configuration file \"" + name + "\", " + LineAndColumn(text, offset) + ": " + reason;
}

} // namespace

bool ParseConfiguration(std::string_view text, const std::string& name, ConfigurationValues& values,
                        std::string& error) {
    // The parser takes a zero byte for the end of the text.
    const std::size_t zero = text.find('\0');
    if (zero != std::string_view::npos) {
        error = ContentError(text, zero, name, "A zero byte.");
        return false;
    }
    constexpr unsigned int kFlags =
        rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag;
    rapidjson::MemoryStream stream(text.data(), text.size());
    rapidjson::Reader reader;
    ValueCollector collector;
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, collector);
    if (result.IsError()) {
        const bool isRefusal = result.Code() == rapidjson::kParseErrorTermination;
        const std::string reason =
            isRefusal ? collector.reason : rapidjson::GetParseError_En(result.Code());
        error = ContentError(text, result.Offset(), name, reason);
        return false;
    }
    values = std::move(collector.values);
    return true;
}

bool ReadConfigurationFile(const std::string& path, ConfigurationValues& values,
                           std::string& error) {
    std::string reason;
    const std::optional<std::string> text = RegularFile::Read(path, kMaximumFileSize, reason);
    if (!text) {
        error = "Cannot read the configuration file \"" + path + "\": " + reason;
        return false;
    }
    return ParseConfiguration(*text, path, values, error);
}
