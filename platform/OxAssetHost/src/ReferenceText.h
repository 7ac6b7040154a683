#ifndef OXASSETHOST_REFERENCETEXT_H
#define OXASSETHOST_REFERENCETEXT_H

#include <optional>
#include <string>
#include <string_view>

/// An asset reference with its home folder, variables and frame tokens replaced.
struct ExpandedReference {
    std::string text;
    bool hasFrameToken = false;
};

/// Replaces a leading ~ or ~user, environment variables and, when there is a frame, frame tokens.
/// Replacements are not searched again. Returns nothing when one cannot be made, and assigns the
/// reason to `why`, worded to follow a colon.
std::optional<ExpandedReference> ExpandReference(std::string_view text, std::optional<int> frame,
                                                 std::string& why);

/// Whether a reference with these characters is a path rather than a plain word.
bool HasPathSeparator(std::string_view text);

/// The text in single quotes, fit for one line of a message: control characters are written as
/// escapes, and the end of a long text is left out.
std::string QuotedForMessage(std::string_view text);

#endif
