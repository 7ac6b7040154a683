#ifndef OXTELLARSDK_PLUGINCALL_H
#define OXTELLARSDK_PLUGINCALL_H

#include <exception>
#include <string>

#include "ExceptionText.h"

namespace OxPluginManager {

/// Runs code of a plug-in. Returns a text about the exception that it throws, or an empty one.
template <typename Call>
std::string ExceptionFrom(const Call& call) {
    try {
        call();
        return {};
    } catch (const std::exception& exception) {
        return std::string("threw: ") + TELLAR::TextOf(exception);
    } catch (...) {
        return "threw something that is no std::exception";
    }
}

} // namespace OxPluginManager

#endif
