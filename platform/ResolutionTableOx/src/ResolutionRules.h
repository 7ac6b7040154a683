#ifndef RESOLUTIONTABLEOX_RESOLUTIONRULES_H
#define RESOLUTIONTABLEOX_RESOLUTIONRULES_H

#include <string>
#include <string_view>

// What the parts of a format must be. Each function throws std::runtime_error when one is not:
// "<name>": <what> is <value>; it must be <rule>.

void CheckFormatName(std::string_view name);

/// `what` is "width" or "height".
void CheckFormatSize(std::string_view name, std::string_view what, int size);

void CheckPixelAspect(std::string_view name, double pixelAspect);

/// Two sizes that are right each by itself.
void CheckPixelCount(std::string_view name, int width, int height);

/// For a value that is not even of the right type: `value` is how to show it.
[[noreturn]] void RefuseFormatMember(std::string_view name, std::string_view member,
                                     std::string_view value);

/// Text from outside as error messages show it: in double quotes, with control characters as
/// \xNN for each byte, and "..." for the end of a long one.
std::string QuotedForMessage(std::string_view text);

#endif
