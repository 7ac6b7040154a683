#include "DifferenceParts.h"

#include "AttributeText.h"
#include "ExceptionText.h"

namespace TellarTool {

namespace {

constexpr std::int64_t kMostValues = 16; // a matrix is short

}

bool IsShort(const OxAttribute::Attribute& value) {
    const OxAttribute::DataAttribute data = DataOf(value);
    return data.getNumberOfValues() <= kMostValues && data.getNumberOfTimeSamples() <= 1;
}

std::string ErrorText(const std::exception_ptr& error) {
    if (!error) return {};
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return TELLAR::TextOf(exception);
    } catch (...) {
        return "an error without a text";
    }
}

} // namespace TellarTool
