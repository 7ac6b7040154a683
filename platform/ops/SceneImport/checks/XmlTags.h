#ifndef SCENEIMPORT_XMLTAGS_H
#define SCENEIMPORT_XMLTAGS_H

#include <string_view>

namespace TellarSceneImport {

/// The text without white space at its ends.
std::string_view TrimmedXml(std::string_view text);

/// A tag of an XML text, which must outlive it.
struct XmlTag {
    std::string_view name; ///< "accessor", or "/accessor" for an end tag
    std::string_view attributes;
    bool isEmpty = false; ///< ends with "/"

    /// The value of an attribute; empty when the tag does not have it.
    std::string_view attribute(std::string_view name) const;
};

/// Reads the tags of an XML text one after the other and skips text, comments, CDATA sections and
/// the like. Stops at invalid XML, which Assimp reports.
class XmlTagReader {
public:
    explicit XmlTagReader(std::string_view xml) : rest(xml) {}

    /// Returns false at the end.
    bool next(XmlTag& tag);

    /// The text between the last tag and the next "<".
    std::string_view text() const { return rest.substr(0, rest.find('<')); }
    /// Whether that "<" begins a comment, a CDATA section or the like.
    bool isMarkupNext() const;

private:
    bool skipTo(std::string_view text);
    void skipMarkup();
    bool readTag(XmlTag& tag);

    std::string_view rest;
};

} // namespace TellarSceneImport

#endif
