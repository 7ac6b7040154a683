#include <OxTellarSDK/Capture.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <map>
#include <mutex>
#include <utility>

#include <OxTellarSDK/TellarError.h>

#include "CaptureParser.h"
#include "RecordedAnswers.h"
#include "files/RegularFile.h"

using OxAttribute::Attribute;

namespace OxCapture {

namespace {

constexpr std::size_t kMostNotes = 1000;
constexpr std::uint64_t kMostBytes = std::uint64_t(1) << 40;

std::atomic<std::string (*)()> questionName{nullptr};

/// A reader that is in use, and the state in which its file was read.
struct OpenReader {
    RegularFile::State file;
    std::weak_ptr<const Reader> reader;
};

/// The readers in use by path. Hold its lock.
struct OpenReaders {
    std::mutex lock;
    std::map<std::string, OpenReader> byPath;
};

OpenReaders& GetOpenReaders() {
    static OpenReaders* const readers = new OpenReaders;
    return *readers;
}

[[noreturn]] void RefuseToRead(const std::string& path, const std::string& reason) {
    throw TellarError::OfFile(path, "Cannot read file \"" + path + "\": " + reason);
}

} // namespace

void SetQuestionName(std::string (*name)()) {
    questionName = name;
}

struct Reader::State {
    std::string path;
    Content content;
    mutable std::mutex lock; // guards what follows
    std::vector<std::string> missing;
};

Reader::Reader(std::unique_ptr<State> state) : state(std::move(state)) {}

Reader::~Reader() = default;

std::shared_ptr<const Reader> Reader::Open(const std::string& path) {
    RegularFile::State file;
    std::string reason;
    const RegularFile::Pointer stream = RegularFile::Open(path, file, reason);
    if (!stream) RefuseToRead(path, reason);
    OpenReaders& readers = GetOpenReaders();
    const std::lock_guard<std::mutex> guard(readers.lock);
    OpenReader& known = readers.byPath[std::filesystem::absolute(path).string()];
    if (auto reader = known.reader.lock(); reader && known.file == file) return reader;
    const std::optional<std::string> bytes =
        RegularFile::ReadRest(stream.get(), kMostBytes, reason);
    if (!bytes) RefuseToRead(path, reason);
    auto reader = Parse(*bytes, path);
    known = {file, reader};
    return reader;
}

std::shared_ptr<const Reader> Reader::Parse(std::string_view bytes, const std::string& name) {
    auto state = std::make_unique<State>();
    state->path = name;
    state->content = ParseCapture(bytes, name);
    return std::shared_ptr<const Reader>(new Reader(std::move(state)));
}

const std::string& Reader::getPath() const {
    return state->path;
}

bool Reader::isComplete() const {
    return state->content.isComplete;
}

std::vector<std::string> Reader::getKeys(std::string_view question) const {
    std::vector<std::string> keys;
    const auto answers = state->content.answers.find(std::string(question));
    if (answers == state->content.answers.end()) return keys;
    for (const auto& answer : answers->second)
        keys.push_back(answer.first);
    std::sort(keys.begin(), keys.end());
    return keys;
}

std::optional<Attribute> Reader::find(std::string_view question, std::string_view key) const {
    const auto answers = state->content.answers.find(std::string(question));
    if (answers == state->content.answers.end()) return std::nullopt;
    const auto answer = answers->second.find(std::string(key));
    if (answer == answers->second.end()) return std::nullopt;
    return answer->second;
}

std::optional<TellarRuntime::LocationData> Reader::findLocation(const std::string& path) const {
    const std::optional<Attribute> answer = find(kLocation, path);
    return answer ? std::optional(ToLocation(*answer)) : std::nullopt;
}

OxOpType::SubtreeFacts Reader::findSubtree(const std::string& path) const {
    const std::optional<Attribute> answer = find(kSubtree, path);
    return answer ? ToSubtree(*answer) : OxOpType::SubtreeFacts();
}

std::shared_ptr<const OxOpType::Instances> Reader::findInstances(const std::string& path) const {
    const std::optional<Attribute> answer = find(kInstances, path);
    return answer ? ToInstances(*answer) : nullptr;
}

std::string Reader::noteMissing(const std::string& question) const {
    const auto name = questionName.load();
    const std::string asked = name ? name() : std::string();
    std::string text = '"' + getPath() + "\" has no answer to " + question;
    if (!asked.empty() && asked != question) text += ", which " + asked + " needs";
    const std::lock_guard<std::mutex> guard(state->lock);
    std::vector<std::string>& missing = state->missing;
    if (missing.size() < kMostNotes &&
        std::find(missing.begin(), missing.end(), text) == missing.end())
        missing.push_back(text);
    return text;
}

std::vector<std::string> Reader::getMissing() const {
    const std::lock_guard<std::mutex> guard(state->lock);
    return state->missing;
}

} // namespace OxCapture
