#include "ReaderProcess.h"

#include <algorithm>
#include <charconv>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <system_error>

#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/Attribute.h>

#include "NamedLogger.h"
#include "ReaderErrors.h"
#include "ReaderReply.h"
#include "SceneLog.h"
#include "process/ChildProcess.h"

namespace TellarSceneImport {

namespace {

using TellarInternal::ChildEnd;
using TellarInternal::ChildProcess;

const NamedLogger kLogger("SceneImport");

constexpr std::uint64_t kDefaultSeconds = 600;
// For systems that do not tell how much memory they have.
constexpr std::uint64_t kDefaultMebibytes = 8192;

// Protects against overflow, and is longer than any file takes.
constexpr std::uint64_t kMostSeconds = 1000000;

std::uint64_t Setting(const char* key, std::uint64_t otherwise, std::uint64_t most) {
    const std::string text = Config()->get(key);
    if (text.empty()) return otherwise;
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && rest == end && number > 0 && number <= most) return number;
    kLogger.error("{} is \"{}\"; it must be a whole number from 1 to {}. {} is used.", key, text,
                  most, otherwise);
    return otherwise;
}

std::uint64_t MostMebibytes() {
#if defined(_SC_PHYS_PAGES) && defined(_SC_PAGESIZE)
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long bytes = sysconf(_SC_PAGESIZE);
    if (pages > 0 && bytes > 0)
        return std::max<std::uint64_t>(1, static_cast<std::uint64_t>(pages) / 4 * 3 / 1024 *
                                              static_cast<std::uint64_t>(bytes) / 1024);
#endif
    return kDefaultMebibytes;
}

struct Program {
    std::mutex lock;
    std::string file;
};

Program& TheProgram() {
    static auto* program = new Program;
    return *program;
}

/// The output of a reader as a stream. It ends early when there is more than the reader may need
/// memory for.
class ReplyStream {
public:
    ReplyStream(ChildProcess& reader, std::uint64_t mostBytes) : reader(reader), left(mostBytes) {}

    static std::int64_t Read(void* stream, void* buffer, std::int64_t bytes) {
        return static_cast<ReplyStream*>(stream)->read(static_cast<char*>(buffer), bytes);
    }

    bool isTooLong() const { return left == 0; }

private:
    std::int64_t read(char* buffer, std::int64_t bytes) {
        const std::size_t got =
            reader.read(buffer, static_cast<std::size_t>(std::min<std::uint64_t>(left, bytes)));
        left -= got;
        return static_cast<std::int64_t>(got);
    }

    ChildProcess& reader;
    std::uint64_t left;
};

std::string ReasonOf(const ChildEnd& end, const ReaderLimits& limits, const std::string& error) {
    switch (end.kind) {
    case ChildEnd::Kind::TimedOut:
        return "reading it takes more than " + std::to_string(limits.time.count()) +
               " seconds (SCENE_READER_SECONDS)";
    case ChildEnd::Kind::Exited:
        if (end.code == kOutOfMemoryStatus)
            return "reading it takes more than " + std::to_string(limits.mebibytes) +
                   " MiB of memory (SCENE_READER_MEBIBYTES)";
        break;
    case ChildEnd::Kind::Signaled:
        return "the scene reader crashed: it " + end.text();
    case ChildEnd::Kind::Unknown:
        break;
    }
    return "the scene reader " + end.text() + (error.empty() ? "" : ": " + error);
}

/// Returns nothing, and sets `reason`, when the stream holds no valid reply.
std::optional<ReaderReply> ParseReply(ReplyStream& stream, std::string& reason) {
    try {
        return ReplyFrom(OxAttribute::GroupAttribute(
            OxAttribute::Attribute::readAttributeStream(&stream, &ReplyStream::Read, 0)));
    } catch (const std::runtime_error& error) {
        reason = error.what();
        return std::nullopt;
    }
}

/// Returns nothing, and sets `reason`, when the reader wrote no complete reply.
std::optional<ReaderReply> ReadReply(ChildProcess& reader, const ReaderLimits& limits,
                                     std::string& reason) {
    ReplyStream stream(reader, limits.mebibytes << 20);
    std::optional<ReaderReply> reply = ParseReply(stream, reason);
    if (stream.isTooLong()) {
        reason = "the scene reader wrote too much";
        reader.kill();
        return std::nullopt;
    }
    const ChildEnd end = reader.wait();
    const bool mayHaveSucceeded = end.isSuccess() || end.kind == ChildEnd::Kind::Unknown;
    if (reply && mayHaveSucceeded) return reply;
    if (!end.isSuccess()) reason = ReasonOf(end, limits, ErrorsIn(reader.errors()).text);
    return std::nullopt;
}

/// Logs a message of the reader as if it were one of this process.
void Relay(const OxLogMessage& message, const std::string& path) {
    const OxLoggerGlue logger(message.loggerName);
    const bool namesScene = message.text.find(path) != std::string::npos;
    const std::string text =
        CurrentOpPrefix() + (namesScene ? "" : "Scene file \"" + path + "\": ") + message.text;
    const char* const file = message.file.c_str();
    switch (message.level) {
    case OxLogLevel::debug:
        return logger.debug(text, file, message.line);
    case OxLogLevel::info:
        return logger.info(text, file, message.line);
    case OxLogLevel::warn:
        return logger.warn(text, file, message.line);
    default:
        return logger.error(text, file, message.line);
    }
}

/// Starts the program that reads one file.
void Start(std::optional<ChildProcess>& reader, const FileStamp& stamp, const ReadOptions& options,
           const ReaderLimits& limits) {
    const std::string program = ReaderProgram();
    try {
        reader.emplace(TellarInternal::ChildProgram{program,
                                                    {stamp.path, std::to_string(limits.mebibytes),
                                                     std::to_string(getpid()), options.animation,
                                                     options.convertUnits ? "1" : "0"},
                                                    {},
                                                    limits.time});
    } catch (const std::system_error& error) {
        throw std::runtime_error("the scene reader \"" + program +
                                 "\" cannot be started: " + error.what());
    }
}

} // namespace

ReaderLimits ConfiguredLimits() {
    ReaderLimits limits;
    limits.time =
        std::chrono::seconds(Setting("SCENE_READER_SECONDS", kDefaultSeconds, kMostSeconds));
    const std::uint64_t most = std::uint64_t(1) << 40;
    limits.mebibytes = Setting("SCENE_READER_MEBIBYTES", MostMebibytes(), most);
    return limits;
}

std::string ReaderProgram() {
    const std::lock_guard<std::mutex> guard(TheProgram().lock);
    return TheProgram().file;
}

void SetReaderProgram(const std::string& file) {
    const std::lock_guard<std::mutex> guard(TheProgram().lock);
    TheProgram().file = file;
}

SceneContent ReadInChildProcess(const FileStamp& stamp, const ReadOptions& options,
                                const ReaderLimits& limits, std::vector<FileStamp>& files) {
    std::optional<ChildProcess> reader;
    Start(reader, stamp, options, limits);
    std::string reason;
    std::optional<ReaderReply> reply = ReadReply(*reader, limits, reason);
    if (!reply) {
        for (const std::string& file : ErrorsIn(reader->errors()).files)
            files.push_back(StampOf(file));
        throw std::runtime_error(reason);
    }
    files.insert(files.end(), reply->files.begin(), reply->files.end());
    for (const OxLogMessage& message : reply->messages)
        Relay(message, stamp.path);
    if (!reply->error.empty()) throw std::runtime_error(reply->error);
    return std::move(reply->content);
}

SceneContent ReadInChildProcess(const FileStamp& stamp, const ReadOptions& options,
                                std::vector<FileStamp>& files) {
    return ReadInChildProcess(stamp, options, ConfiguredLimits(), files);
}

} // namespace TellarSceneImport
