#include <OxTellarSDK/Capture.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <limits>
#include <mutex>
#include <unordered_map>

#include <OxTellarSDK/TellarError.h>

#include "CaptureLayout.h"
#include "files/RegularFile.h"

using namespace OxAttribute;

namespace OxCapture {

namespace {

struct HashOfHash {
    std::size_t operator()(const Hash& hash) const {
        return static_cast<std::size_t>(hash.words[0]);
    }
};

/// The records of one block. Texts are numbered from 0 and attributes from 1 in the order in which
/// they stand in the file; 0 is an invalid attribute.
class Records {
public:
    const std::string& getBytes() const { return bytes; }
    void clear() { bytes.clear(); }

    void addAnswer(std::string_view question, std::string_view key, const Attribute& answer) {
        const std::uint64_t text = addText(question);
        const std::uint64_t attribute = addAttribute(answer);
        begin(Record::Answer);
        addNumber(text);
        addString(key);
        addNumber(attribute);
    }

    void addEnd() { begin(Record::End); }

private:
    void begin(Record record) { bytes += static_cast<char>(record); }

    /// Seven bits a byte, the lowest first. The highest bit says that another byte follows.
    void addNumber(std::uint64_t number) {
        for (; number >= 0x80; number >>= 7)
            bytes += static_cast<char>(number | 0x80);
        bytes += static_cast<char>(number);
    }

    void addString(std::string_view text) {
        addNumber(text.size());
        bytes += text;
    }

    void addRaw(const void* data, std::size_t size) {
        bytes.append(static_cast<const char*>(data), size);
    }

    std::uint64_t addText(std::string_view text) {
        const auto [known, isNew] = texts.try_emplace(std::string(text), texts.size());
        if (isNew) {
            begin(Record::Text);
            addString(text);
        }
        return known->second;
    }

    std::uint64_t addAttribute(const Attribute& attribute) {
        if (!attribute.isValid()) return 0;
        const Hash hash = attribute.getHash();
        const auto known = attributes.find(hash);
        if (known != attributes.end()) return known->second;
        switch (attribute.getType()) {
        case kAttributeTypeGroup:
            addGroup(attribute);
            break;
        case kAttributeTypeInt:
            addNumbers(IntAttribute(attribute));
            break;
        case kAttributeTypeFloat:
            addNumbers(FloatAttribute(attribute));
            break;
        case kAttributeTypeDouble:
            addNumbers(DoubleAttribute(attribute));
            break;
        case kAttributeTypeString:
            addStrings(attribute);
            break;
        default:
            begin(Record::Data);
            bytes += static_cast<char>(kAttributeTypeNull);
        }
        // An attribute's number follows those of its children.
        return attributes.emplace(hash, attributes.size() + 1).first->second;
    }

    void addGroup(const GroupAttribute& group) {
        struct Child {
            std::uint64_t text, attribute;
        };
        std::vector<Child> children;
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
            children.push_back(
                {addText(group.getChildNameView(i)), addAttribute(group.getChildByIndex(i))});
        begin(Record::Group);
        bytes += static_cast<char>(group.getGroupInherit());
        addNumber(children.size());
        for (const Child& child : children) {
            addNumber(child.text);
            addNumber(child.attribute);
        }
    }

    /// No times are written for a single sample at time 0.
    void beginData(const DataAttribute& data) {
        begin(Record::Data);
        bytes += static_cast<char>(data.getType());
        addNumber(static_cast<std::uint64_t>(data.getTupleSize()));
        std::vector<float> times;
        for (std::int64_t i = 0; i < data.getNumberOfTimeSamples(); ++i)
            times.push_back(data.getSampleTime(i));
        std::uint32_t bits = 0;
        std::memcpy(&bits, times.data(), sizeof bits);
        if (times.size() == 1 && bits == 0) times.clear();
        addNumber(times.size());
        addRaw(times.data(), times.size() * sizeof(float));
        addNumber(static_cast<std::uint64_t>(data.getNumberOfValues()));
    }

    template <typename T>
    void addNumbers(const NumericAttribute<T>& data) {
        beginData(data);
        for (std::int64_t i = 0; i < data.getNumberOfTimeSamples(); ++i) {
            const auto sample = data.getNearestSample(data.getSampleTime(i));
            addRaw(sample.data(), sample.size() * sizeof(T));
        }
    }

    void addStrings(const StringAttribute& data) {
        beginData(data);
        for (std::int64_t i = 0; i < data.getNumberOfTimeSamples(); ++i)
            for (const std::string_view value : data.getSample(i))
                addString(value);
    }

    std::string bytes;
    std::unordered_map<std::string, std::uint64_t> texts;
    std::unordered_map<Hash, std::uint64_t, HashOfHash> attributes;
};

std::string ReasonOf(const std::exception_ptr& exception) {
    return FactsOf(exception).text;
}

} // namespace

struct Writer::State {
    explicit State(const std::string& path) : path(path), file(std::fopen(path.c_str(), "wb")) {
        if (!file) throw failure(RegularFile::ReasonOf(errno));
        // Each block is written at once, so that none is lost in a crash.
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
        FileHeader header{};
        std::memcpy(header.magic, kMagic.data(), kMagic.size());
        header.version = kVersion;
        write(&header, sizeof header);
        if (!reason.empty()) throw failure(reason);
    }

    TellarError failure(const std::string& why) const {
        return TellarError::OfFile(path, "Cannot write capture \"" + path + "\": " + why);
    }

    bool isOpen() const { return file && reason.empty(); }

    void write(const void* data, std::size_t size) {
        errno = 0;
        if (std::fwrite(data, 1, size, file.get()) != size) reason = RegularFile::ReasonOf(errno);
    }

    void writeBlock() {
        const std::string& content = records.getBytes();
        if (content.size() > std::numeric_limits<std::uint32_t>::max()) {
            reason = "an answer has more than 4 GiB";
            return;
        }
        BlockHeader header{};
        header.contentHash = XXH3_64bits(content.data(), content.size());
        header.bytes = static_cast<std::uint32_t>(content.size());
        header.headerHash = HeaderHash(header);
        block.assign(reinterpret_cast<const char*>(&header), sizeof header);
        block += content;
        write(block.data(), block.size());
    }

    const std::string path;
    std::mutex lock; // guards what follows
    RegularFile::Pointer file;
    std::string reason; // of the first failure
    Records records;
    std::string block;
};

Writer::Writer(const std::string& path) : state(std::make_unique<State>(path)) {}

Writer::~Writer() = default;

const std::string& Writer::getPath() const {
    return state->path;
}

void Writer::add(std::string_view question, std::string_view key,
                 const Attribute& answer) noexcept {
    try {
        // Computed without the lock, because it reads all values; it is kept with them.
        if (answer.isValid()) static_cast<void>(answer.getHash());
    } catch (...) {
        // Reported below.
    }
    const std::lock_guard<std::mutex> guard(state->lock);
    if (!state->isOpen()) return;
    try {
        state->records.clear();
        state->records.addAnswer(question, key, answer);
        state->writeBlock();
    } catch (...) {
        // The numbers of later values would be wrong. A short text needs no memory of its own.
        state->reason = "no memory";
        try {
            state->reason = ReasonOf(std::current_exception());
        } catch (...) {
        }
    }
}

void Writer::finish() {
    const std::lock_guard<std::mutex> guard(state->lock);
    if (!state->file) return;
    if (state->isOpen()) {
        state->records.clear();
        state->records.addEnd();
        state->writeBlock();
    }
    errno = 0;
    const bool isClosed = std::fclose(state->file.release()) == 0;
    if (!isClosed && state->reason.empty()) state->reason = RegularFile::ReasonOf(errno);
    if (!state->reason.empty()) throw state->failure(state->reason);
}

} // namespace OxCapture
