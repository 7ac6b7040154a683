// Reads any text as an op-tree description in JSON. An accepted description must be equal after it
// is written and read again.

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
        return 0; // the expected error for other texts
    }
    Check(description.isValid(), "what is read is a description");
    const std::string written = WriteDescriptionJson(description);
    const GroupAttribute again = ParseDescriptionJson(written, "written", "/folder");
    Check(again == description, "a description comes back from JSON");
    return 0;
}
