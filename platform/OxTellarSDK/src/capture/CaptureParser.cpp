#include "CaptureParser.h"

#include <cmath>
#include <map>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <OxTellarSDK/TellarError.h>

using namespace OxAttribute;

namespace OxCapture {

namespace {

// Groups may share their children, so a small file can describe a group that is too large to walk.
constexpr std::uint64_t kMostInOneGroup = 100'000'000;
// Texts may be the names of many children, so a small file can describe names that take too much
// memory. This many bytes for each byte of the file are more than any writer needs.
constexpr std::uint64_t kMostNamesPerByte = 64;
constexpr std::uint64_t kNamesOfAnyFile = 1 << 20;

/// Reads the records of one block. Errors are std::runtime_errors with the problem alone.
class Cursor {
public:
    explicit Cursor(std::string_view bytes) : rest(bytes) {}

    bool isAtEnd() const { return rest.empty(); }
    std::size_t left() const { return rest.size(); }

    std::uint8_t byte() { return static_cast<std::uint8_t>(take(1)[0]); }

    std::uint64_t number() {
        std::uint64_t result = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            const std::uint64_t next = byte();
            const std::uint64_t bits = next & 0x7f;
            if (bits << shift >> shift != bits) break;
            result |= bits << shift;
            if (next < 0x80) return result;
        }
        throw std::runtime_error("a number is too large");
    }

    /// A number of things that follow, each in at least `bytesEach` bytes.
    std::uint64_t count(std::uint64_t bytesEach) {
        const std::uint64_t result = number();
        if (result > left() / bytesEach)
            throw std::runtime_error("a block ends before its last record");
        return result;
    }

    std::string_view text() { return take(count(1)); }

    /// `countOf` has been checked against what is left.
    template <typename T>
    std::vector<T> values(std::uint64_t countOf) {
        std::vector<T> result(countOf);
        const std::string_view raw = take(countOf * sizeof(T));
        if (!raw.empty()) std::memcpy(result.data(), raw.data(), raw.size());
        return result;
    }

private:
    std::string_view take(std::uint64_t bytes) {
        if (bytes > rest.size()) throw std::runtime_error("a block ends before its last record");
        const std::string_view taken = rest.substr(0, bytes);
        rest.remove_prefix(bytes);
        return taken;
    }

    std::string_view rest;
};

class Parser {
public:
    explicit Parser(std::uint64_t fileBytes)
        : namesLeft(kNamesOfAnyFile + fileBytes * kMostNamesPerByte) {}

    void read(std::string_view block) {
        Cursor cursor(block);
        while (!cursor.isAtEnd())
            readRecord(cursor);
    }

    Content takeContent() { return std::move(content); }
    bool isAtEnd() const { return content.isComplete; }

private:
    /// An attribute of the file.
    struct Value {
        Attribute attribute;
        std::uint64_t size; // attributes in it, itself included, shared ones as often as they occur
    };

    void readRecord(Cursor& cursor) {
        if (content.isComplete) throw std::runtime_error("something follows its end");
        switch (static_cast<Record>(cursor.byte())) {
        case Record::Text:
            texts.emplace_back(cursor.text());
            return;
        case Record::Data:
            values.push_back({readData(cursor), 1});
            return;
        case Record::Group:
            readGroup(cursor);
            return;
        case Record::Answer:
            readAnswer(cursor);
            return;
        case Record::End:
            content.isComplete = true;
            return;
        }
        throw std::runtime_error("a record has no known kind");
    }

    const std::string& readText(Cursor& cursor) {
        const std::uint64_t number = cursor.number();
        if (number >= texts.size()) throw std::runtime_error("a text is used before it is given");
        return texts[number];
    }

    /// Null for the number 0.
    const Value* readValue(Cursor& cursor) {
        const std::uint64_t number = cursor.number();
        if (number > values.size())
            throw std::runtime_error("an attribute is used before it is given");
        return number == 0 ? nullptr : &values[number - 1];
    }

    Attribute readData(Cursor& cursor) {
        switch (cursor.byte()) {
        case kAttributeTypeNull:
            return NullAttribute();
        case kAttributeTypeInt:
            return readNumbers<IntAttribute>(cursor);
        case kAttributeTypeFloat:
            return readNumbers<FloatAttribute>(cursor);
        case kAttributeTypeDouble:
            return readNumbers<DoubleAttribute>(cursor);
        case kAttributeTypeString:
            return readStrings(cursor);
        default:
            throw std::runtime_error("an attribute has no known type");
        }
    }

    std::int64_t readTupleSize(Cursor& cursor) {
        const std::uint64_t tupleSize = cursor.number();
        if (tupleSize < 1 || tupleSize > INT32_MAX)
            throw std::runtime_error("an attribute has a tuple size out of range");
        return static_cast<std::int64_t>(tupleSize);
    }

    std::vector<float> readTimes(Cursor& cursor) {
        const std::uint64_t count = cursor.count(sizeof(float));
        if (count == 0) return {0.0f};
        std::vector<float> times = cursor.values<float>(count);
        for (std::size_t i = 0; i < times.size(); ++i)
            if (!std::isfinite(times[i]) || (i > 0 && !(times[i - 1] < times[i])))
                throw std::runtime_error("the times of an attribute do not ascend");
        return times;
    }

    template <typename Numbers>
    Attribute readNumbers(Cursor& cursor) {
        using Element = typename Numbers::value_type;
        const std::int64_t tupleSize = readTupleSize(cursor);
        const std::vector<float> times = readTimes(cursor);
        const std::uint64_t count = cursor.count(times.size() * sizeof(Element));
        const auto elements = cursor.values<Element>(count * times.size());
        return Numbers(times.data(), static_cast<std::int64_t>(times.size()), elements.data(),
                       static_cast<std::int64_t>(count), tupleSize);
    }

    Attribute readStrings(Cursor& cursor) {
        const std::int64_t tupleSize = readTupleSize(cursor);
        const std::vector<float> times = readTimes(cursor);
        const std::uint64_t count = cursor.count(times.size()); // a string takes at least one byte
        std::map<float, std::vector<std::string>> samples;
        for (const float time : times) {
            std::vector<std::string>& sample = samples[time];
            for (std::uint64_t i = 0; i < count; ++i)
                sample.emplace_back(cursor.text());
        }
        return StringAttribute(samples, tupleSize);
    }

    void readGroup(Cursor& cursor) {
        const bool isInheriting = cursor.byte() != 0;
        std::vector<GroupAttribute::Child> children(cursor.count(2));
        std::uint64_t size = 1;
        for (auto& [name, attribute] : children) {
            name = readText(cursor);
            if (name.size() > namesLeft) throw std::runtime_error("the names are too long");
            namesLeft -= name.size();
            const Value* const value = readValue(cursor);
            if (!value) throw std::runtime_error("a group has a child without a value");
            attribute = value->attribute;
            size += value->size;
            if (size > kMostInOneGroup) throw std::runtime_error("a group is too large");
        }
        values.push_back({GroupAttribute(children, isInheriting), size});
    }

    void readAnswer(Cursor& cursor) {
        const std::string& question = readText(cursor);
        const std::string_view key = cursor.text();
        const Value* const value = readValue(cursor);
        content.answers[question].insert_or_assign(std::string(key),
                                                   value ? value->attribute : Attribute());
    }

    Content content;
    std::vector<std::string> texts;
    std::vector<Value> values;
    std::uint64_t namesLeft; // bytes
};

[[noreturn]] void Refuse(const std::string& name, const std::string& why) {
    throw TellarError::OfFile(name, "File \"" + name + "\" " + why);
}

[[noreturn]] void RefuseDamage(const std::string& name, const std::string& what,
                               std::size_t place) {
    Refuse(name, "is damaged: " + what + " at byte " + std::to_string(place));
}

template <typename T>
T ValueAt(std::string_view bytes, std::size_t place) {
    T value;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

/// The block at a place; an empty text when the file ends before the block does.
std::string_view BlockAt(std::string_view bytes, std::size_t place, const std::string& name) {
    if (bytes.size() - place < sizeof(BlockHeader)) return {};
    const auto header = ValueAt<BlockHeader>(bytes, place);
    if (header.headerHash != HeaderHash(header) || header.bytes == 0)
        RefuseDamage(name, "a block has a wrong header", place);
    place += sizeof header;
    if (bytes.size() - place < header.bytes) return {};
    const std::string_view block = bytes.substr(place, header.bytes);
    if (XXH3_64bits(block.data(), block.size()) != header.contentHash)
        RefuseDamage(name, "a block does not have its checksum", place);
    return block;
}

/// Returns false when the file ends within its header.
bool CheckHeader(std::string_view bytes, const std::string& name) {
    const std::string_view magic = bytes.substr(0, kMagic.size());
    if (bytes.empty() || kMagic.substr(0, magic.size()) != magic) Refuse(name, "is no capture");
    if (bytes.size() < sizeof(FileHeader)) return false;
    const auto header = ValueAt<FileHeader>(bytes, 0);
    if (header.version != kVersion)
        Refuse(name, "is a capture of version " + std::to_string(header.version) +
                         "; this program reads version " + std::to_string(kVersion));
    if (header.reserved != 0)
        RefuseDamage(name, "the header is wrong", offsetof(FileHeader, reserved));
    return true;
}

} // namespace

Content ParseCapture(std::string_view bytes, const std::string& name) {
    if (!CheckHeader(bytes, name)) return {};
    Parser parser(bytes.size());
    std::size_t place = sizeof(FileHeader);
    while (place < bytes.size()) {
        if (parser.isAtEnd()) RefuseDamage(name, "something follows its end", place);
        const std::string_view block = BlockAt(bytes, place, name);
        if (block.empty()) break;
        try {
            parser.read(block);
        } catch (const std::runtime_error& error) {
            RefuseDamage(name, error.what(), place);
        }
        place += sizeof(BlockHeader) + block.size();
    }
    return parser.takeContent();
}

} // namespace OxCapture
