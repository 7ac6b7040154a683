// Reads any text as a configuration file. Accepted values must be equal after they are written as
// one flat object and read again.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "Check.h"
#include "ConfigurationFile.h"

namespace {

std::string Quoted(std::string_view text) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string quoted = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || c == '"' || c == '\\')
            quoted += std::string("\\u00") + kDigits[byte / 16] + kDigits[byte % 16];
        else
            quoted += c;
    }
    return quoted + "\"";
}

std::string Written(const ConfigurationValues& values) {
    std::string text;
    for (const auto& [key, value] : values)
        text += (text.empty() ? "{" : ",\n") + Quoted(key) + ": " + Quoted(value);
    return text.empty() ? "{}" : text + "}";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const ConfigurationValues before = {{"key", "value"}};
    ConfigurationValues values = before;
    std::string error;
    if (!ParseConfiguration(text, "input", values, error)) {
        Check(values == before, "a file at fault changes nothing");
        Check(error.rfind("Configuration file \"input\", line ", 0) == 0,
              "an error names the file and the line");
        Check(std::count(error.begin(), error.end(), '\n') == 0, "an error is one line");
        return 0;
    }
    ConfigurationValues again;
    Check(ParseConfiguration(Written(values), "written", again, error), "values can be written");
    Check(again == values, "values come back from a file");
    return 0;
}
