#ifndef OXTELLARSDK_STRINGUTIL_H
#define OXTELLARSDK_STRINGUTIL_H

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Export.h>

/// String functions as scripting languages have them, on bytes.
///
/// All are pure functions and safe from any thread, except that expandvars and expanduser read the
/// environment, which must not change meanwhile. Whitespace is the six ASCII characters space, \t,
/// \n, \r, \v and \f in every locale.
namespace OxStringUtil {

/// The parts of the text between occurrences of `separator`, which is one whole string and
/// not a set of characters: split("a//b", "/") gives {"a", "", "b"}, and an empty text
/// gives {""}.
///
/// An empty separator stands for runs of whitespace. Runs at the two ends are then ignored, so a
/// blank text gives no parts.
///
/// At most `maxSplits` splits are made from the left, and any number when it is negative. The last
/// part is the unsplit rest.
OXTELLARSDK_API std::vector<std::string> split(std::string_view text,
                                               std::string_view separator = {}, int maxSplits = -1);

/// The text without the bytes at both ends, at the left end or at the right end that occur in
/// `chars`.
OXTELLARSDK_API std::string strip(std::string_view text, std::string_view chars = " \t\n\r\v\f");
OXTELLARSDK_API std::string lstrip(std::string_view text, std::string_view chars = " \t\n\r\v\f");
OXTELLARSDK_API std::string rstrip(std::string_view text, std::string_view chars = " \t\n\r\v\f");

/// The index of the last occurrence of `what`, or -1 when there is none. An empty `what` is found
/// at the end.
OXTELLARSDK_API std::ptrdiff_t rfind(std::string_view text, std::string_view what);

/// The bytes from index `begin` to before index `end`. A negative index counts from the end of the
/// text; indices beyond either end mean that end.
OXTELLARSDK_API std::string slice(std::string_view text, std::ptrdiff_t begin,
                                  std::ptrdiff_t end = std::numeric_limits<std::ptrdiff_t>::max());

/// The text with the first `count` occurrences of `from` replaced, all of them when
/// `count` is negative. An empty `from` occurs before every byte and at the end.
OXTELLARSDK_API std::string replace(std::string_view text, std::string_view from,
                                    std::string_view to, int count = -1);

OXTELLARSDK_API bool startswith(std::string_view text, std::string_view prefix);
OXTELLARSDK_API bool endswith(std::string_view text, std::string_view suffix);

/// The text with $NAME and ${NAME} replaced by environment variables; NAME without braces
/// is the longest run of ASCII letters, digits and underscores. Unknown variables are left
/// as they are, and a variable's value is not expanded again.
OXTELLARSDK_API std::string expandvars(std::string_view text);

/// The path with a leading ~ or ~user replaced by that home folder; ~ alone is the
/// environment variable HOME, or the account's folder when HOME is not set. An unknown
/// user's path is left as it is.
OXTELLARSDK_API std::string expanduser(std::string_view path);

} // namespace OxStringUtil

#endif
