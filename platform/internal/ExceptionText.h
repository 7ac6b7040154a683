#ifndef TELLAR_PLATFORM_EXCEPTIONTEXT_H
#define TELLAR_PLATFORM_EXCEPTIONTEXT_H

#include <exception>

namespace TELLAR {

/// The text of an exception. Classes of plug-ins may return null as theirs.
inline const char* TextOf(const std::exception& exception) {
    const char* text = exception.what();
    return text ? text : "an exception without a text";
}

} // namespace TELLAR

#endif
