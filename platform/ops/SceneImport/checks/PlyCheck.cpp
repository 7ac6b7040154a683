#include "PlyCheck.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "text/NumberText.h"

namespace TellarSceneImport {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

struct Property {
    std::size_t lengthBytes = 0; // the size of the length of a list; 0 for a single value
    std::size_t bytes = 0;       // the size of a value
};

struct Element {
    std::uint64_t count = 0;
    std::vector<Property> properties;
};

enum class Format { Text, LittleEndian, BigEndian };

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error("damaged PLY: " + what);
}

// Messages quote only the beginning of long words.
std::string Quoted(std::string_view text) {
    return "\"" + std::string(text.substr(0, 40)) + "\"";
}

[[noreturn]] void FailTooShort() {
    Fail("the file is shorter than its header says");
}

std::size_t BytesOfType(std::string_view type) {
    static const auto* sizes = new std::map<std::string_view, std::size_t>{
        {"char", 1},  {"uchar", 1},  {"int8", 1},    {"uint8", 1},  {"short", 2}, {"ushort", 2},
        {"int16", 2}, {"uint16", 2}, {"int", 4},     {"uint", 4},   {"int32", 4}, {"uint32", 4},
        {"float", 4}, {"double", 8}, {"float32", 4}, {"float64", 8}};
    const auto found = sizes->find(type);
    if (found == sizes->end()) Fail("unknown type " + Quoted(type));
    return found->second;
}

// Removes a word from the text and returns it; empty at the end of the text.
std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kSpace));
    text.remove_prefix(word.size());
    return word;
}

std::uint64_t TakeNumber(std::string_view& text, const char* complaint) {
    const std::string_view word = TakeWord(text);
    std::uint32_t number = 0;
    if (!TellarInternal::ReadNumber(word, number)) Fail(complaint);
    return number;
}

class PlyReader {
public:
    explicit PlyReader(std::string_view content) : rest(content) {}

    void readHeader();
    void readBody();

private:
    bool readHeaderLine(std::string_view line);
    std::string_view takeLine();
    void readFormat(std::string_view line);
    void readElement(std::string_view line);
    void readProperty(std::string_view line);

    void skipElements(const Element& element);
    void skipProperty(const Property& property);
    void skipValues(std::uint64_t count, std::size_t bytes);
    std::uint64_t takeLength(std::size_t bytes);

    std::string_view rest;
    Format format = Format::Text;
    std::vector<Element> elements;
};

// Without its end.
std::string_view PlyReader::takeLine() {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) Fail("the header has no end");
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    return line;
}

void PlyReader::readFormat(std::string_view line) {
    const std::string_view name = TakeWord(line);
    if (name == "ascii")
        format = Format::Text;
    else if (name == "binary_little_endian")
        format = Format::LittleEndian;
    else if (name == "binary_big_endian")
        format = Format::BigEndian;
    else
        Fail("unknown format " + Quoted(name));
}

void PlyReader::readElement(std::string_view line) {
    TakeWord(line); // the name
    elements.push_back({TakeNumber(line, "an element without a count"), {}});
}

void PlyReader::readProperty(std::string_view line) {
    if (elements.empty()) Fail("a property that belongs to nothing");
    Property property;
    std::string_view type = TakeWord(line);
    if (type == "list") {
        const std::string_view lengthType = TakeWord(line);
        if (lengthType == "float" || lengthType == "double") Fail("a list's length is no integer");
        property.lengthBytes = BytesOfType(lengthType);
        type = TakeWord(line);
    }
    property.bytes = BytesOfType(type);
    elements.back().properties.push_back(property);
}

// Returns false at the line that ends the header.
bool PlyReader::readHeaderLine(std::string_view line) {
    const std::string_view word = TakeWord(line);
    if (word == "format")
        readFormat(line);
    else if (word == "element")
        readElement(line);
    else if (word == "property")
        readProperty(line);
    else if (!word.empty() && word != "comment" && word != "obj_info" && word != "end_header")
        Fail("unknown word " + Quoted(word) + " in the header");
    return word != "end_header";
}

void PlyReader::readHeader() {
    std::string_view magic = rest.substr(0, rest.find('\n'));
    if (TakeWord(magic) != "ply" || !TakeWord(magic).empty())
        Fail("it does not begin with \"ply\"");
    takeLine();
    while (readHeaderLine(takeLine())) {
    }
}

void PlyReader::skipValues(std::uint64_t count, std::size_t bytes) {
    if (format == Format::Text) {
        for (std::uint64_t i = 0; i < count; ++i)
            if (TakeWord(rest).empty()) FailTooShort();
    } else {
        if (count > rest.size() / bytes) FailTooShort();
        rest.remove_prefix(count * bytes);
    }
}

std::uint64_t PlyReader::takeLength(std::size_t bytes) {
    if (format == Format::Text) return TakeNumber(rest, "a list has no length");
    if (rest.size() < bytes) FailTooShort();
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::size_t at = format == Format::BigEndian ? i : bytes - 1 - i;
        length = length << 8 | static_cast<unsigned char>(rest[at]);
    }
    rest.remove_prefix(bytes);
    return length;
}

void PlyReader::skipProperty(const Property& property) {
    const std::uint64_t count = property.lengthBytes > 0 ? takeLength(property.lengthBytes) : 1;
    skipValues(count, property.bytes);
}

void PlyReader::skipElements(const Element& element) {
    if (element.count > 0 && element.properties.empty()) Fail("an element without properties");
    for (std::uint64_t i = 0; i < element.count; ++i)
        for (const Property& property : element.properties)
            skipProperty(property);
}

void PlyReader::readBody() {
    for (const Element& element : elements)
        skipElements(element);
}

} // namespace

void CheckPly(std::string_view content) {
    PlyReader reader(content);
    reader.readHeader();
    reader.readBody();
}

} // namespace TellarSceneImport
