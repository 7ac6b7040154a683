#ifndef OXASSETHOST_REFERENCETEXT_H
#define OXASSETHOST_REFERENCETEXT_H

#include <optional>
#include <string>
#include <string_view>

/// What an asset reference says once everything in it that stands for something else is replaced.
struct ExpandedReference {
    std::string text;
    bool hasFrameToken = false;
};

/// Replaces a leading ~ or ~user, environment variables and, when there is a frame, frame tokens.
/// What is put in is never looked at again. Returns nothing when that cannot be done; the reason
/// is then assigned to `why`, for use behind a colon.
std::optional<ExpandedReference> ExpandReference(std::string_view text, std::optional<int> frame,
                                                 std::string& why);

/// Whether a reference with these characters is a path rather than a plain word.
bool HasPathSeparator(std::string_view text);

/// The text in single quotes, fit for one line of a message: control characters are written as
/// escapes, and the end of a long text is left out.
std::string QuotedForMessage(std::string_view text);

#endif
