#include "PlyHeader.h"

#include <algorithm>
#include <locale>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace TellarSceneImport {

namespace {

// Longer than any real header, comments included.
constexpr std::uint64_t kMaxHeaderSize = 1 << 20;

// Of a text file: a digit and what separates it from the next.
constexpr std::uint64_t kBytesOfText = 2;

struct Element {
    std::uint64_t count = 0;
    std::uint64_t bytes = 0; // at least this much for one
};

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("damaged PLY: " + what);
}

std::uint64_t bytesOfType(const std::string& type) {
    static const auto* sizes = new std::map<std::string, std::uint64_t>{
        {"char", 1},  {"uchar", 1},  {"int8", 1},    {"uint8", 1},  {"short", 2}, {"ushort", 2},
        {"int16", 2}, {"uint16", 2}, {"int", 4},     {"uint", 4},   {"int32", 4}, {"uint32", 4},
        {"float", 4}, {"double", 8}, {"float32", 4}, {"float64", 8}};
    const auto found = sizes->find(type);
    if (found == sizes->end()) fail("unknown type \"" + type.substr(0, 40) + "\"");
    return found->second;
}

class Header {
public:
    void read(std::istream& file);
    bool promisesMoreThan(std::uint64_t fileSize) const;

private:
    // False at the line that ends the header.
    bool readLine(const std::string& line);
    void readElement(std::istream& words);
    void readProperty(std::istream& words);

    std::string format;
    std::vector<Element> elements;
    std::uint64_t headerSize = 0;
};

void Header::readElement(std::istream& words) {
    Element element;
    std::string name;
    long long count = -1;
    if (!(words >> name >> count) || count < 0) fail("an element without a count");
    element.count = static_cast<std::uint64_t>(count);
    elements.push_back(element);
}

void Header::readProperty(std::istream& words) {
    std::string type, ofItems;
    words >> type;
    // A list may be empty: only its length is sure to be there.
    const bool isList = type == "list";
    if (isList) words >> type >> ofItems;
    std::string name;
    if (!(words >> name) || elements.empty()) fail("a property that belongs to nothing");
    if (isList) bytesOfType(ofItems);
    const std::uint64_t bytes = bytesOfType(type);
    elements.back().bytes += format == "ascii" ? kBytesOfText : bytes;
}

bool Header::readLine(const std::string& line) {
    std::istringstream words(line);
    words.imbue(std::locale::classic());
    std::string word;
    words >> word;
    if (word == "format")
        words >> format;
    else if (word == "element")
        readElement(words);
    else if (word == "property")
        readProperty(words);
    else if (!word.empty() && word != "comment" && word != "obj_info" && word != "end_header")
        fail("unknown word \"" + word.substr(0, 40) + "\" in the header");
    return word != "end_header";
}

void Header::read(std::istream& file) {
    std::string line;
    std::getline(file, line);
    if (line != "ply" && line != "ply\r") fail("it does not begin with \"ply\"");
    do {
        headerSize += line.size() + 1;
        if (headerSize > kMaxHeaderSize || !std::getline(file, line)) fail("the header has no end");
    } while (readLine(line));
    headerSize += line.size() + 1;
    if (format != "ascii" && format != "binary_little_endian" && format != "binary_big_endian")
        fail("unknown format \"" + format.substr(0, 40) + "\"");
}

bool Header::promisesMoreThan(std::uint64_t fileSize) const {
    // The last number of a text needs nothing after it.
    std::uint64_t total = format == "ascii" ? headerSize - 1 : headerSize;
    for (const Element& element : elements) {
        if (element.count > fileSize) return true; // keeps the product small, too
        total += element.count * std::max<std::uint64_t>(element.bytes, 1);
        if (total > fileSize) return true;
    }
    return false;
}

} // namespace

void CheckPlyHeader(std::istream& file, std::uint64_t fileSize) {
    Header header;
    header.read(file);
    if (header.promisesMoreThan(fileSize)) fail("the file is shorter than its header says");
}

} // namespace TellarSceneImport
