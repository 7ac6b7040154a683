#include "PlyHeader.h"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "text/NumberText.h"

namespace TellarSceneImport {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

// Messages quote only the beginning of long words.
std::string Quoted(std::string_view text) {
    return "\"" + std::string(text.substr(0, 40)) + "\"";
}

PlyType TypeOf(std::string_view name) {
    static const auto* types = new std::map<std::string_view, PlyType>{
        {"char", PlyType::Int8},      {"int8", PlyType::Int8},       {"uchar", PlyType::UInt8},
        {"uint8", PlyType::UInt8},    {"short", PlyType::Int16},     {"int16", PlyType::Int16},
        {"ushort", PlyType::UInt16},  {"uint16", PlyType::UInt16},   {"int", PlyType::Int32},
        {"int32", PlyType::Int32},    {"uint", PlyType::UInt32},     {"uint32", PlyType::UInt32},
        {"float", PlyType::Float32},  {"float32", PlyType::Float32}, {"double", PlyType::Float64},
        {"float64", PlyType::Float64}};
    const auto found = types->find(name);
    if (found == types->end()) ThrowPlyError("unknown type " + Quoted(name));
    return found->second;
}

class HeaderReader {
public:
    explicit HeaderReader(std::string_view content) : rest(content) {}

    PlyHeader read();

private:
    std::string_view takeLine();
    bool readLine(std::string_view line);
    void readFormat(std::string_view line);
    void readElement(std::string_view line);
    void readProperty(std::string_view line);
    void readComment(std::string_view line);
    void checkSizes() const;

    std::string_view rest;
    std::string_view lineEnd;
    PlyHeader header;
};

// Without its end.
std::string_view HeaderReader::takeLine() {
    const std::size_t end = rest.find(lineEnd);
    if (end == std::string_view::npos) ThrowPlyError("the header has no end");
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end + lineEnd.size());
    return line;
}

void HeaderReader::readFormat(std::string_view line) {
    const std::string_view name = TakePlyWord(line);
    if (name == "ascii")
        header.format = PlyFormat::Text;
    else if (name == "binary_little_endian")
        header.format = PlyFormat::LittleEndian;
    else if (name == "binary_big_endian")
        header.format = PlyFormat::BigEndian;
    else
        ThrowPlyError("unknown format " + Quoted(name));
}

void HeaderReader::readElement(std::string_view line) {
    PlyElement element;
    element.name = TakePlyWord(line);
    std::uint32_t count = 0;
    if (!TellarInternal::ReadNumber(TakePlyWord(line), count))
        ThrowPlyError("an element without a count");
    element.count = count;
    header.elements.push_back(element);
}

void HeaderReader::readProperty(std::string_view line) {
    if (header.elements.empty()) ThrowPlyError("a property that belongs to nothing");
    PlyProperty property;
    std::string_view type = TakePlyWord(line);
    if (type == "list") {
        property.lengthType = TypeOf(TakePlyWord(line));
        if (IsFloat(*property.lengthType)) ThrowPlyError("a list's length is no integer");
        type = TakePlyWord(line);
    }
    property.type = TypeOf(type);
    property.name = TakePlyWord(line);
    header.elements.back().properties.push_back(property);
}

void HeaderReader::readComment(std::string_view line) {
    if (TakePlyWord(line) != "TextureFile" || !header.texture.empty()) return;
    line.remove_prefix(std::min(line.find_first_not_of(kSpace), line.size()));
    const std::size_t end = line.find_last_not_of(kSpace);
    header.texture = line.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

// Returns false at the line that ends the header.
bool HeaderReader::readLine(std::string_view line) {
    const std::string_view word = TakePlyWord(line);
    if (word == "format")
        readFormat(line);
    else if (word == "element")
        readElement(line);
    else if (word == "property")
        readProperty(line);
    else if (word == "comment")
        readComment(line);
    else if (!word.empty() && word != "obj_info" && word != "end_header")
        ThrowPlyError("unknown word " + Quoted(word) + " in the header");
    return word != "end_header";
}

// A value takes at least a byte in a binary file, and two, with a space, in a text.
void HeaderReader::checkSizes() const {
    for (const PlyElement& element : header.elements) {
        if (element.count > 0 && element.properties.empty())
            ThrowPlyError("an element without properties");
        std::uint64_t bytes = 0;
        for (const PlyProperty& property : element.properties)
            bytes += header.format == PlyFormat::Text
                         ? 2
                         : BytesOf(property.lengthType.value_or(property.type));
        // The last value of a text may lack its space.
        if (element.count > 0 && bytes > (rest.size() + 1) / element.count) ThrowPlyTooShort();
    }
}

PlyHeader HeaderReader::read() {
    std::string_view magic = rest.substr(0, rest.find_first_of("\r\n"));
    const std::string_view end = rest.substr(magic.size(), 2);
    lineEnd = end == "\r\n" ? end : end.substr(0, 1);
    if (TakePlyWord(magic) != "ply" || !TakePlyWord(magic).empty() || lineEnd.empty())
        ThrowPlyError("it does not begin with \"ply\"");
    takeLine();
    while (readLine(takeLine())) {
    }
    checkSizes();
    header.body = rest;
    return header;
}

} // namespace

std::size_t BytesOf(PlyType type) {
    switch (type) {
    case PlyType::Int8:
    case PlyType::UInt8:
        return 1;
    case PlyType::Int16:
    case PlyType::UInt16:
        return 2;
    case PlyType::Float64:
        return 8;
    default:
        return 4;
    }
}

bool IsFloat(PlyType type) {
    return type == PlyType::Float32 || type == PlyType::Float64;
}

PlyHeader ReadPlyHeader(std::string_view content) {
    return HeaderReader(content).read();
}

void ThrowPlyError(const std::string& what) {
    throw std::runtime_error("damaged PLY: " + what);
}

void ThrowPlyTooShort() {
    ThrowPlyError("the file is shorter than its header says");
}

std::string_view TakePlyWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kSpace), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kSpace));
    text.remove_prefix(word.size());
    return word;
}

} // namespace TellarSceneImport
