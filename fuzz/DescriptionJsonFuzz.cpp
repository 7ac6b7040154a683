// Reads any text as a description of an op tree. What is accepted must come back from the text that
// it is written as.

#include <cstdint>
#include <stdexcept>
#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "Check.h"

using namespace OxAttribute;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    GroupAttribute description;
    try {
        description = ParseDescriptionJson(text, "input", "/folder");
    } catch (const std::runtime_error&) {
        return 0; // what any other text is answered with
    }
    Check(description.isValid(), "what is read is a description");
    const std::string written = WriteDescriptionJson(description);
    const GroupAttribute again = ParseDescriptionJson(written, "written", "/folder");
    Check(again == description, "a description comes back from JSON");
    return 0;
}
