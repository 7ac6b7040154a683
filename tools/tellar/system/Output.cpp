#include "Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "PrintableText.h"
#include "files/ReplacingFile.h"

namespace TellarTool {

namespace {

[[noreturn]] void FailOutput(int error) {
    // Closed, so that the buffered rest is not written again when the process ends.
    std::fclose(stdout);
    if (error == EPIPE) throw OutputClosed();
    throw std::runtime_error(std::string("standard output: ") + std::strerror(error));
}

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
    const std::string complaint = path + ": cannot be written";
    if (std::filesystem::is_directory(path))
        throw std::runtime_error(complaint + ": " + std::strerror(EISDIR));
    TellarInternal::ReplacingFile file(path, complaint);
    file.write(content.data(), content.size());
    file.replace();
}

} // namespace TellarTool
