#ifndef OXTELLARSDK_PLUGINCALL_H
#define OXTELLARSDK_PLUGINCALL_H

#include <exception>
#include <string>

namespace OxPluginManager {

/// The exception's text. Classes of plug-ins may give null for one.
inline const char* TextOf(const std::exception& exception) {
    const char* text = exception.what();
    return text ? text : "an exception without a text";
}

/// Runs code of a plug-in. What it throws ends here and becomes a text; empty for nothing.
template <typename Call>
std::string ExceptionFrom(const Call& call) {
    try {
        call();
        return {};
    } catch (const std::exception& exception) {
        return std::string("threw: ") + TextOf(exception);
    } catch (...) {
        return "threw something that is no std::exception";
    }
}

} // namespace OxPluginManager

#endif
