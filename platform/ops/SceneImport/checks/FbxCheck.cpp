#include "FbxCheck.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "NodeGraph.h"

namespace TellarSceneImport {

namespace {

// Real files have about ten levels.
constexpr int kMaxRecordDepth = 200;

constexpr std::string_view kBinaryMagic("Kaydara FBX Binary  \0", 21);
constexpr std::size_t kBinaryStart = 27; // after the magic, two bytes and the version

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error("damaged FBX: " + what);
}

// The models of a file and their connections. Identities are compared as they are written.
struct Objects {
    std::unordered_set<std::string_view> models;
    struct Connection {
        std::string_view child;
        std::string_view parent;
    };
    std::vector<Connection> connections;

    // Only models become nodes. A model without a parent is a child of the root.
    void check(int maxDepth) const {
        NodeGraph graph;
        for (const Connection& connection : connections)
            if (models.count(connection.child) > 0 && models.count(connection.parent) > 0)
                graph.connect(connection.parent, connection.child);
        graph.check(maxDepth);
    }
};

// Splits a text file into tokens: words, quoted strings with their quotes, single other characters.
class TokenReader {
public:
    explicit TokenReader(std::string_view text) : rest(text) {}

    // Returns an empty token at the end.
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

// Model: identity, ...
void ReadTextModel(TokenReader& reader, Objects& objects) {
    if (reader.next() == ":") objects.models.insert(reader.next());
}

// *length { a: numbers }. Assimp allocates all of them before it reads the first one.
void ReadTextLength(TokenReader& reader, std::size_t fileSize) {
    const std::string_view text = reader.next();
    std::uint64_t length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (error == std::errc::result_out_of_range || length > fileSize)
        Fail("an array claims to hold more than the file");
}

// C: "OO",child,parent
void ReadTextConnection(TokenReader& reader, Objects& objects) {
    if (reader.next() != ":" || reader.next() != "\"OO\"" || reader.next() != ",") return;
    const std::string_view child = reader.next();
    if (reader.next() == ",") objects.connections.push_back({child, reader.next()});
}

void ReadText(std::string_view content, Objects& objects) {
    TokenReader reader(content);
    int depth = 0;
    for (std::string_view token; !(token = reader.next()).empty();) {
        if (token == "{" && ++depth > kMaxRecordDepth) Fail("records are nested too deep");
        if (token == "}") --depth;
        if (token == "*") ReadTextLength(reader, content.size());
        if (token == "Model") ReadTextModel(reader, objects);
        if (token == "C") ReadTextConnection(reader, objects);
    }
}

// The most bytes that deflate compresses into one.
constexpr std::uint64_t kMaxDeflation = 1032;

// The size in bytes of a property of this type, or of each number in an array property.
std::uint64_t BytesOfType(char type) {
    const auto isOneOf = [type](std::string_view types) {
        return types.find(type) != std::string_view::npos;
    };
    if (isOneOf("BCbc")) return 1;
    if (isOneOf("Y")) return 2;
    if (isOneOf("FIfi")) return 4;
    if (isOneOf("DLdl")) return 8;
    Fail("a property of an unknown type");
}

// Reads the properties of a record of a binary file.
class PropertyReader {
public:
    explicit PropertyReader(std::string_view properties) : rest(properties) {}

    void check() {
        while (!rest.empty()) {
            const char type = take(1)[0];
            if (type == 'S' || type == 'R')
                take(number());
            else if (type >= 'a')
                checkArray(BytesOfType(type));
            else
                take(BytesOfType(type));
        }
    }

private:
    // An array holds its length, whether it is deflated, its size in the file, and the numbers.
    // Assimp allocates as many numbers as the length says, and counts their bytes in 32 bits.
    void checkArray(std::uint64_t numberBytes) {
        const std::uint64_t bytes = number() * numberBytes;
        const bool isDeflated = number() != 0;
        const std::uint64_t bytesHere = number();
        take(bytesHere);
        if (bytes > bytesHere * (isDeflated ? kMaxDeflation : 1) ||
            bytes > std::numeric_limits<std::uint32_t>::max())
            Fail("an array claims to hold more than the file");
    }

    std::uint64_t number() {
        std::uint32_t value = 0;
        std::memcpy(&value, take(sizeof value).data(), sizeof value); // little-endian machines only
        return value;
    }

    std::string_view take(std::uint64_t size) {
        if (size > rest.size()) Fail("a property does not fit its record");
        const std::string_view taken = rest.substr(0, size);
        rest.remove_prefix(size);
        return taken;
    }

    std::string_view rest;
};

// Reads a binary file record by record. A record consists of its end, the number and the size of
// its properties, its name, the properties, and nested records up to its end.
class RecordReader {
public:
    RecordReader(std::string_view content, Objects& objects) : content(content), objects(objects) {
        std::memcpy(&version, content.data() + kBinaryStart - 4, 4);
    }

    void read() {
        std::size_t at = kBinaryStart;
        std::vector<std::size_t> ends; // end offsets of the enclosing records
        while (at < content.size()) {
            while (!ends.empty() && at >= ends.back())
                ends.pop_back();
            const std::optional<std::size_t> end = readRecord(at);
            if (!end) {
                if (ends.empty()) return; // the rest is not a record
                at = ends.back();
                continue;
            }
            if (!ends.empty() && *end > ends.back())
                Fail("a record ends behind the one that holds it");
            ends.push_back(*end);
            if (ends.size() > kMaxRecordDepth) Fail("records are nested too deep");
        }
    }

private:
    std::uint64_t number(std::size_t& at) const {
        const std::size_t width = version >= 7500 ? 8 : 4;
        if (content.size() - at < width) Fail("it ends inside a record");
        std::uint64_t value = 0;
        std::memcpy(&value, content.data() + at, width); // little-endian machines only
        at += width;
        return value;
    }

    // Moves `at` to the end of the record's properties and returns the end of the record. Returns
    // nothing at the record of zeros that ends a list.
    std::optional<std::size_t> readRecord(std::size_t& at) {
        const std::size_t start = at;
        const std::uint64_t end = number(at);
        number(at); // the number of properties
        const std::uint64_t propertyBytes = number(at);
        if (end == 0) return std::nullopt;
        if (end <= start || end > content.size() || at >= end)
            Fail("a record ends outside the file");
        const auto nameLength = static_cast<unsigned char>(content[at]);
        ++at;
        if (nameLength > end - at || propertyBytes > end - at - nameLength)
            Fail("a record is too short");
        const std::string_view name = content.substr(at, nameLength);
        at += nameLength;
        const std::string_view properties = content.substr(at, propertyBytes);
        PropertyReader(properties).check();
        if (name == "Model") readModel(properties);
        if (name == "C") readConnection(properties);
        at += propertyBytes;
        return static_cast<std::size_t>(end);
    }

    // "L", identity, ...
    void readModel(std::string_view properties) {
        if (properties.size() >= 9 && properties[0] == 'L')
            objects.models.insert(properties.substr(1, 8));
    }

    // "S", length, "OO"; "L", child; "L", parent
    void readConnection(std::string_view properties) {
        constexpr std::string_view start("S\2\0\0\0OOL", 8);
        if (properties.size() == start.size() + 17 && properties.substr(0, start.size()) == start)
            objects.connections.push_back(
                {properties.substr(start.size(), 8), properties.substr(start.size() + 9, 8)});
    }

    const std::string_view content;
    Objects& objects;
    std::uint32_t version = 0;
};

} // namespace

void CheckFbx(std::string_view content, int maxDepth) {
    Objects objects;
    if (content.substr(0, kBinaryMagic.size()) != kBinaryMagic)
        ReadText(content, objects);
    else if (content.size() < kBinaryStart)
        Fail("it ends inside its header");
    else
        RecordReader(content, objects).read();
    objects.check(maxDepth);
}

} // namespace TellarSceneImport
