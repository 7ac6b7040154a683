#ifndef OXTELLARSDK_XMLTAGS_H
#define OXTELLARSDK_XMLTAGS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OxAttribute {

/// A start tag: its name and its fields, as they stand in the text.
struct XmlTag {
    struct Field {
        std::string_view name;
        std::string_view value; // still escaped
        bool used = false;
    };

    std::string_view name;
    std::size_t place = 0;
    std::vector<Field> fields;
    bool isEmpty = false; // "<.../>"

    /// The value of a field, which is then marked as used.
    std::optional<std::string_view> take(std::string_view fieldName);
};

/// Reads the tags of an XML text from front to back. White space between them is free; everything
/// else has one form. All errors are std::runtime_errors with the place in the text. It borrows
/// the text.
class XmlTags {
public:
    explicit XmlTags(std::string_view text) : text(text) {}

    [[noreturn]] void fail(std::size_t place, const std::string& what) const;
    [[noreturn]] void failHere(const std::string& what) const { fail(at, what); }

    std::size_t place() const { return at; }
    /// The place of a part of the text.
    std::size_t placeOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - text.data());
    }

    bool isAtEnd() const { return at == text.size(); }
    bool startsWith(std::string_view token) const { return text.substr(at, token.size()) == token; }
    void skipSpace();
    void expect(std::string_view token);
    XmlTag readTag();
    /// The characters up to the next white space or "<".
    std::string_view readWord();
    /// The text up to the next "<", which must be there.
    std::string_view readText(const char* complaint);

    /// Fails unless every field of the tag has been taken.
    void checkFields(const XmlTag& tag) const;
    /// The bytes that a part of the text stands for.
    std::string unescape(std::string_view raw) const;

private:
    char peek() const { return at < text.size() ? text[at] : '\0'; }
    std::string_view readName();
    void readField(XmlTag& tag);
    std::size_t unescapeEntity(std::string_view raw, std::string& bytes) const;
    std::size_t unescapeBackslash(std::string_view raw, std::string& bytes) const;
    std::size_t copyCharacter(std::string_view raw, std::string& bytes) const;

    std::string_view text;
    std::size_t at = 0;
};

} // namespace OxAttribute

#endif
