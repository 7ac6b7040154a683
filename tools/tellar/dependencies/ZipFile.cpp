#include "ZipFile.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

#include <zip.h>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

/// Discards an archive that was not closed, and leaves an older file unchanged.
struct Discarder {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, Discarder>;

[[noreturn]] void Fail(const std::string& file, const std::string& reason) {
    throw std::runtime_error(file + ": cannot be written: " + reason);
}

Archive Open(const std::string& file) {
    int code = 0;
    Archive archive(zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (archive) return archive;
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    const std::string reason = zip_error_strerror(&error);
    zip_error_fini(&error);
    Fail(file, reason);
}

/// The files sorted by name, so that equal folders make equal zip files.
std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

void Add(zip_t* archive, const std::string& file, const fs::path& source, const std::string& name) {
    zip_source_t* const content = zip_source_file(archive, source.c_str(), 0, -1);
    if (content && zip_file_add(archive, name.c_str(), content, ZIP_FL_ENC_UTF_8) >= 0) return;
    const std::string reason = zip_strerror(archive);
    zip_source_free(content);
    Fail(file, reason);
}

} // namespace

void WriteZip(const std::string& file, const std::string& folder, const std::string& prefix,
              const StopSignals& signals) {
    Archive archive = Open(file);
    for (const fs::path& source : FilesBelow(folder))
        Add(archive.get(), file, source,
            prefix + '/' + source.lexically_relative(folder).generic_string());
    const auto isStopped = [](zip_t*, void* user) {
        return static_cast<const StopSignals*>(user)->noted() != 0 ? 1 : 0;
    };
    zip_register_cancel_callback_with_state(archive.get(), isStopped, nullptr,
                                            const_cast<StopSignals*>(&signals));
    const bool isWritten = zip_close(archive.get()) == 0;
    if (!isWritten) signals.throwIfNoted("nothing is packed");
    if (!isWritten) Fail(file, zip_strerror(archive.get()));
    (void)archive.release(); // zip_close() has freed it
}

} // namespace TellarTool
