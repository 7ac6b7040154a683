#include <ResolutionTableOx/ResolutionTable.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <OxConfiguration/Configuration.h>

#include "BuiltInResolutions.h"
#include "NamedLogger.h"
#include "ResolutionFile.h"
#include "files/RegularFile.h"

namespace {

const NamedLogger kLogger("ResolutionTable");

using TablePointer = std::shared_ptr<const ResolutionTable>;

constexpr const char* kFileKey = "RESOLUTION_TABLE";

[[noreturn]] void RefuseFile(const std::string& path, const std::string& reason) {
    throw std::runtime_error("cannot read the resolution table \"" + path + "\": " + reason);
}

TablePointer Overlaid(std::vector<ResolutionTableEntry> overlay) {
    std::vector<ResolutionTableEntry> entries = BuiltInResolutions();
    std::unordered_map<std::string, std::size_t> indices;
    for (std::size_t i = 0; i < entries.size(); ++i)
        indices.emplace(entries[i].getName(), i);
    for (ResolutionTableEntry& entry : overlay) {
        const auto existing = indices.find(entry.getName());
        if (existing != indices.end()) {
            entries[existing->second] = std::move(entry);
        } else {
            entries.push_back(std::move(entry));
        }
    }
    return std::make_shared<const ResolutionTable>(std::move(entries));
}

// The result of reading one file once. Immutable.
struct FileTable {
    // The state of the file when its content was read. Empty when it changed meanwhile or could not
    // be read.
    std::optional<RegularFile::State> state;
    TablePointer table; // empty when the file cannot be read or its content is wrong
    std::string error;  // the reason
};

FileTable ReadTable(const std::string& path) {
    FileTable result;
    std::string reason;
    RegularFile::State before;
    const RegularFile::Pointer file = RegularFile::Open(path, before, reason);
    if (!file) RefuseFile(path, reason);
    if (before.bytes > kMaximumResolutionFileSize)
        RefuseFile(path, std::to_string(before.bytes) + " bytes are too many");
    const std::optional<std::string> content =
        RegularFile::ReadRest(file.get(), kMaximumResolutionFileSize, reason);
    if (!content) RefuseFile(path, reason);
    if (RegularFile::StateOf(file.get(), reason) == before) result.state = before;
    try {
        result.table = Overlaid(ParseResolutions(*content, path));
    } catch (const std::runtime_error& error) {
        result.error = error.what();
    }
    return result;
}

// One file, read again when it has changed. As long as it does not change, a request costs one look
// at its state and no lock that is held for longer than it takes to copy a pointer.
class WatchedFile {
public:
    explicit WatchedFile(std::string path) : path(std::move(path)) {}

    /// Assigns to `news` an error that has not been logged yet. The caller logs it after the lock
    /// is released, because a log sink may ask for a table.
    TablePointer get(std::string& news) {
        const std::shared_ptr<const FileTable> seen = std::atomic_load(&known);
        if (isUnchanged(*seen)) return seen->table;

        // Held while the file is read, so that one thread reads each change and reports its error.
        const std::lock_guard<std::mutex> lock(reading);
        const std::shared_ptr<const FileTable> before = std::atomic_load(&known);
        if (before != seen && isUnchanged(*before)) return before->table;
        auto current = std::make_shared<FileTable>();
        try {
            *current = ReadTable(path);
        } catch (const std::runtime_error& error) {
            current->error = error.what();
        }
        const bool isOtherContent = before->state && current->state;
        if (isOtherContent || current->error != before->error) news = current->error;
        std::atomic_store(&known, std::shared_ptr<const FileTable>(current));
        return current->table;
    }

private:
    bool isUnchanged(const FileTable& table) const {
        std::string ignored; // reading the file gives the same reason
        return table.state && RegularFile::StateOf(path, ignored) == table.state;
    }

    const std::string path;
    std::mutex reading;
    // Accessed only through std::atomic_load and std::atomic_store.
    std::shared_ptr<const FileTable> known = std::make_shared<FileTable>();
};

WatchedFile& GetWatchedFile(const std::string& path) {
    static auto* const lock = new std::mutex;
    static auto* const files = new std::unordered_map<std::string, std::unique_ptr<WatchedFile>>;
    const std::lock_guard<std::mutex> guard(*lock);
    std::unique_ptr<WatchedFile>& file = (*files)[path];
    if (!file) file = std::make_unique<WatchedFile>(path);
    return *file;
}

TablePointer TableOfFile(const std::string& path) {
    std::string news;
    TablePointer table = GetWatchedFile(path).get(news);
    if (!news.empty()) kLogger.error("{}", news);
    return table;
}

} // namespace

TablePointer GetResolutionTable(const char* file) {
    const std::string path = file ? std::string(file) : Config()->get(kFileKey);
    if (file || !path.empty()) return TableOfFile(path);
    static const TablePointer* const builtIn = new TablePointer(Overlaid({}));
    return *builtIn;
}
