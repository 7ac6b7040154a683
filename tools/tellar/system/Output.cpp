#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <utility>

#include "PrintableText.h"

namespace TellarTool {

namespace {

[[noreturn]] void FailOutput(int error) {
    // What could not be delivered must not be tried again when the process ends.
    std::fclose(stdout);
    if (error == EPIPE) throw OutputClosed();
    throw std::runtime_error(std::string("standard output: ") + std::strerror(error));
}

/// A new file beside `path`, removed again unless it was renamed over it.
class NewFile {
public:
    explicit NewFile(const std::string& path) : target(path) {
        if (std::filesystem::is_directory(path)) fail(EISDIR);
        std::random_device random;
        for (int attempt = 0; attempt < 100 && !file; ++attempt) {
            name = path + ".tmp-" + std::to_string(random());
            file = std::fopen(name.c_str(), "wbx"); // x: only if it is new
            if (!file && errno != EEXIST) break;
        }
        if (!file) fail(errno);
    }
    ~NewFile() {
        if (file) std::fclose(file);
        if (!isDone) std::remove(name.c_str());
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void write(std::string_view content) {
        if (std::fwrite(content.data(), 1, content.size(), file) != content.size()) fail(errno);
    }

    void replaceTarget() {
        std::FILE* const closing = std::exchange(file, nullptr);
        if (std::fclose(closing) != 0) fail(errno);
        std::error_code error;
        std::filesystem::rename(name, target, error);
        if (error) fail(error.value());
        isDone = true;
    }

private:
    const std::string target;
    std::string name;
    std::FILE* file = nullptr;
    bool isDone = false;

    [[noreturn]] void fail(int error) const {
        throw std::runtime_error(target + ": cannot be written: " + std::strerror(error));
    }
};

} // namespace

void WriteOutput(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) FailOutput(errno);
}

void FlushOutput() {
    if (std::fflush(stdout) != 0) FailOutput(errno);
}

void WriteErrorLine(const std::string& message) {
    std::string flat = message;
    for (char& c : flat)
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    while (!flat.empty() && flat.back() == ' ')
        flat.pop_back();
    std::string line = "tellar: ";
    AppendPrintable(line, flat);
    line += '\n';
    std::fflush(stdout);
    std::fputs(line.c_str(), stderr);
}

void WriteFile(const std::string& path, std::string_view content) {
    NewFile file(path);
    file.write(content);
    file.replaceTarget();
}

} // namespace TellarTool
