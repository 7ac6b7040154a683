#include "FbxCheck.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "NodeGraph.h"

namespace TellarSceneImport {

namespace {

// Real files have about ten levels.
constexpr int kMaxRecordDepth = 200;

// Beside nodes the graph holds whatever else is connected: meshes, materials, curves.
constexpr int kLevelsBesideNodes = 20;
constexpr std::uint64_t kMostObjects = 50'000'000;

constexpr std::string_view kBinaryMagic("Kaydara FBX Binary  \0", 21);
constexpr std::size_t kBinaryStart = 27; // behind the magic, two bytes and the version

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("damaged FBX: " + what);
}

// The pieces of a text file: words, quoted strings with their quotes, single other characters.
class TokenReader {
public:
    explicit TokenReader(std::string_view text) : rest(text) {}

    // Empty at the end.
    std::string_view next() {
        skipSpace();
        if (rest.empty()) return {};
        std::size_t length = 1;
        if (rest[0] == '"') {
            length = rest.find('"', 1);
            length = length == std::string_view::npos ? rest.size() : length + 1;
        } else {
            while (isWord(rest[length - 1]) && length < rest.size() && isWord(rest[length]))
                ++length;
        }
        const std::string_view token = rest.substr(0, length);
        rest.remove_prefix(length);
        return token;
    }

private:
    static bool isWord(char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '+' ||
               c == '.';
    }

    void skipSpace() {
        while (!rest.empty()) {
            if (rest[0] == ';')
                rest.remove_prefix(std::min(rest.find('\n'), rest.size()));
            else if (std::isspace(static_cast<unsigned char>(rest[0])))
                rest.remove_prefix(1);
            else
                return;
        }
    }

    std::string_view rest;
};

// C: "OO",child,parent
void readTextConnection(TokenReader& reader, NodeGraph& graph) {
    if (reader.next() != ":" || reader.next() != "\"OO\"" || reader.next() != ",") return;
    const std::string_view child = reader.next();
    if (reader.next() == ",") graph.connect(reader.next(), child);
}

void readText(std::string_view content, NodeGraph& graph) {
    TokenReader reader(content);
    int depth = 0;
    for (std::string_view token; !(token = reader.next()).empty();) {
        if (token == "{" && ++depth > kMaxRecordDepth) fail("records are nested too deep");
        if (token == "}") --depth;
        if (token == "C") readTextConnection(reader, graph);
    }
}

// Reads a binary file record by record. A record is: where it ends, how many properties it has
// and their size, its name; the properties; then records in it, up to its end.
class RecordReader {
public:
    RecordReader(std::string_view content, NodeGraph& graph) : content(content), graph(graph) {
        std::memcpy(&version, content.data() + kBinaryStart - 4, 4);
    }

    void read() {
        std::size_t at = kBinaryStart;
        std::vector<std::size_t> ends; // of the records around
        while (at < content.size()) {
            while (!ends.empty() && at >= ends.back())
                ends.pop_back();
            const std::optional<std::size_t> end = readRecord(at);
            if (!end) {
                if (ends.empty()) return; // what follows is no record
                at = ends.back();
                continue;
            }
            if (!ends.empty() && *end > ends.back())
                fail("a record ends behind the one that holds it");
            ends.push_back(*end);
            if (ends.size() > kMaxRecordDepth) fail("records are nested too deep");
        }
    }

private:
    std::uint64_t number(std::size_t& at) const {
        const std::size_t width = version >= 7500 ? 8 : 4;
        if (content.size() - at < width) fail("it ends inside a record");
        std::uint64_t value = 0;
        std::memcpy(&value, content.data() + at, width); // little-endian machines only
        at += width;
        return value;
    }

    // Moves `at` behind the record's properties and returns where the record ends; empty at the
    // record of zeros that ends a list.
    std::optional<std::size_t> readRecord(std::size_t& at) {
        const std::size_t start = at;
        const std::uint64_t end = number(at);
        number(at); // of properties
        const std::uint64_t propertyBytes = number(at);
        if (end == 0) return std::nullopt;
        if (end <= start || end > content.size() || at >= end)
            fail("a record ends outside the file");
        const auto nameLength = static_cast<unsigned char>(content[at]);
        ++at;
        if (nameLength > end - at || propertyBytes > end - at - nameLength)
            fail("a record is too short");
        const std::string_view name = content.substr(at, nameLength);
        at += nameLength;
        if (name == "C") readConnection(content.substr(at, propertyBytes));
        at += propertyBytes;
        return static_cast<std::size_t>(end);
    }

    // "S", length, "OO"; "L", child; "L", parent
    void readConnection(std::string_view properties) {
        constexpr std::string_view start("S\2\0\0\0OOL", 8);
        if (properties.size() == start.size() + 17 && properties.substr(0, start.size()) == start)
            graph.connect(properties.substr(start.size() + 9, 8),
                          properties.substr(start.size(), 8));
    }

    const std::string_view content;
    NodeGraph& graph;
    std::uint32_t version = 0;
};

} // namespace

void CheckFbx(std::string_view content, int maxDepth) {
    NodeGraph graph;
    if (content.substr(0, kBinaryMagic.size()) != kBinaryMagic)
        readText(content, graph);
    else if (content.size() < kBinaryStart)
        fail("it ends inside its header");
    else
        RecordReader(content, graph).read();
    graph.check(maxDepth + kLevelsBesideNodes, kMostObjects);
}

} // namespace TellarSceneImport
