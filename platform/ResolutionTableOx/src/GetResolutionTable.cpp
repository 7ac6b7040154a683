#include <ResolutionTableOx/ResolutionTable.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include <OxConfiguration/Configuration.h>
#include <OxLoggingHost/OxLoggerGlue.h>

#include "BuiltInResolutions.h"
#include "ResolutionFile.h"

namespace {

using TablePointer = std::shared_ptr<const ResolutionTable>;

constexpr const char* kFileKey = "RESOLUTION_TABLE";

void logError(const std::string& text) {
    static const OxLoggerGlue* const logger = new OxLoggerGlue("ResolutionTable");
    logger->error(text, __FILE__, __LINE__);
}

// By which a changed file is told.
struct FileState {
    std::filesystem::file_time_type changed;
    std::uintmax_t size = 0;

    bool operator==(const FileState& other) const {
        return changed == other.changed && size == other.size;
    }
};

[[noreturn]] void refuseFile(const std::string& path, const std::string& reason) {
    throw std::runtime_error("cannot read the resolution table \"" + path + "\": " + reason);
}

FileState stateOf(const std::string& path) {
    std::error_code code;
    const auto status = std::filesystem::status(path, code);
    if (code) refuseFile(path, code.message());
    // A pipe or a device might never end.
    if (!std::filesystem::is_regular_file(status)) refuseFile(path, "not a regular file");
    FileState state;
    state.size = std::filesystem::file_size(path, code);
    if (!code) state.changed = std::filesystem::last_write_time(path, code);
    if (code) refuseFile(path, code.message());
    if (state.size > kMaximumResolutionFileSize)
        refuseFile(path, std::to_string(state.size) + " bytes are too many");
    return state;
}

// To the end, wherever that is by now: between looking at a file and opening it, another one may
// have been put in its place.
std::string contentOf(const std::string& path) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) refuseFile(path, std::generic_category().message(errno));
    std::string content;
    char chunk[16 * 1024];
    do {
        file.read(chunk, sizeof(chunk));
        content.append(chunk, static_cast<std::size_t>(file.gcount()));
    } while (file && content.size() <= kMaximumResolutionFileSize);
    if (file.bad()) refuseFile(path, std::generic_category().message(errno));
    return content;
}

TablePointer overlaid(std::vector<ResolutionTableEntry> overlay) {
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

// What is known about a file.
struct FileTable {
    std::optional<FileState> state; // of the content that was read, if that is known for sure
    TablePointer table;             // empty when the file cannot be read or its content is wrong
    std::string error;              // why
};

// Throws std::runtime_error when the file cannot be read.
FileTable readTable(const std::string& path, const FileState& state) {
    const std::string content = contentOf(path);
    FileTable result;
    if (stateOf(path) == state) result.state = state;
    try {
        result.table = overlaid(ParseResolutions(content, path));
    } catch (const std::runtime_error& error) {
        result.error = error.what();
    }
    return result;
}

// The tables of all files that were asked for, by path. The lock is held while a file is read, so
// that each change is read, and its error told, by one thread only.
class FileTables {
public:
    /// Assigns what is to be logged to `news`, if anything is. That is left to the caller, outside
    /// of the lock, as a log sink may ask for a table itself.
    TablePointer get(const std::string& path, std::string& news) {
        const std::lock_guard<std::mutex> lock(mutex);
        FileTable& known = tables[path];
        FileTable current;
        try {
            const FileState state = stateOf(path);
            if (known.state == state) return known.table;
            current = readTable(path, state);
        } catch (const std::runtime_error& error) {
            current.error = error.what();
        }
        const bool isOtherContent = known.state && current.state;
        if (isOtherContent || current.error != known.error) news = current.error;
        known = std::move(current);
        return known.table;
    }

private:
    std::mutex mutex;
    std::unordered_map<std::string, FileTable> tables;
};

TablePointer tableOfFile(const std::string& path) {
    static FileTables* const tables = new FileTables;
    std::string news;
    TablePointer table = tables->get(path, news);
    if (!news.empty()) logError(news);
    return table;
}

} // namespace

TablePointer GetResolutionTable(const char* file) {
    const std::string path = file ? std::string(file) : Config()->get(kFileKey);
    if (file || !path.empty()) return tableOfFile(path);
    static const TablePointer* const builtIn = new TablePointer(overlaid({}));
    return *builtIn;
}
