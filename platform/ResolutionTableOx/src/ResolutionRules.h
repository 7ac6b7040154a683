#ifndef RESOLUTIONTABLEOX_RESOLUTIONRULES_H
#define RESOLUTIONTABLEOX_RESOLUTIONRULES_H

#include <string>
#include <string_view>

// The rules for the parts of a format. Each function throws std::runtime_error for a part that
// breaks its rule: "<name>": <what> is <value>; it must be <rule>.

void CheckFormatName(std::string_view name);

/// `what` is "width" or "height".
void CheckFormatSize(std::string_view name, std::string_view what, int size);

void CheckPixelAspect(std::string_view name, double pixelAspect);

/// Checks two sizes together, each of which is valid alone.
void CheckPixelCount(std::string_view name, int width, int height);

/// Throws for a value of a wrong type, which the message shows as `value`.
[[noreturn]] void RefuseFormatMember(std::string_view name, std::string_view member,
                                     std::string_view value);

/// The text as error messages show it: in double quotes, with \xNN for each byte of a control
/// character and "..." for the end of a long text.
std::string QuotedForMessage(std::string_view text);

#endif
