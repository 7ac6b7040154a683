// Reads any text as the XML of an attribute. An accepted attribute must be equal after it is
// written and read again.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

#include "Check.h"

using namespace OxAttribute;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Attribute value;
    try {
        value = ParseAttributeXml({reinterpret_cast<const char*>(data), size});
    } catch (const std::runtime_error&) {
        return 0; // the expected error for other texts
    }
    Check(value.isValid(), "what is read is an attribute");
    const std::string text = value.getXML();
    const Attribute again = ParseAttributeXml(text);
    Check(again == value, "a value comes back from XML");
    Check(again.getXML() == text, "equal values have equal XML");
    return 0;
}
