#include "Process.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

#include "process/ChildProcess.h"

namespace TellarTool {

namespace {

using TellarInternal::ChildEnd;
using TellarInternal::ChildProcess;

[[noreturn]] void Fail(const std::string& name, const ChildEnd& end, const std::string& errors) {
    const std::string first = errors.substr(0, errors.find('\n'));
    throw std::runtime_error(name + (first.empty() ? ' ' + end.text() : " failed: " + first));
}

ChildProcess Start(const std::string& name, const std::vector<std::string>& arguments,
                   std::string_view input) {
    try {
        return ChildProcess({name, arguments, input});
    } catch (const std::system_error& error) {
        if (error.code() == std::errc::no_such_file_or_directory)
            throw std::runtime_error("there is no program \"" + name + "\" on PATH");
        throw std::runtime_error(name + ": cannot be run: " + error.what());
    }
}

} // namespace

std::string OutputOf(ChildProcess& child) {
    std::string output;
    std::array<char, 1 << 14> buffer{};
    while (const std::size_t bytes = child.read(buffer.data(), buffer.size()))
        output.append(buffer.data(), bytes);
    return output;
}

std::string RunProgram(const std::string& name, const std::vector<std::string>& arguments,
                       std::string_view input) {
    ChildProcess child = Start(name, arguments, input);
    std::string output = OutputOf(child);
    const ChildEnd end = child.wait();
    if (!end.isSuccess()) Fail(name, end, child.errors());
    return output;
}

void BecomeProgram(const std::string& name, const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {name};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(all.size() + 1);
    for (std::string& argument : all)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execvp(name.c_str(), pointers.data());
    if (errno == ENOENT) throw std::runtime_error("there is no program \"" + name + "\" on PATH");
    throw std::runtime_error(name + ": cannot be run: " + std::strerror(errno));
}

std::string ProgramPath() {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        throw std::runtime_error("the path of this program is not known: " + error.message());
    return path.string();
}

#if defined(_WIN32)

void SetEnvironment(const std::string& name, const std::string& value) {
    if (_putenv_s(name.c_str(), value.c_str()) != 0)
        throw std::runtime_error(name + ": cannot be set: " + std::strerror(errno));
}

#else

void SetEnvironment(const std::string& name, const std::string& value) {
    if (setenv(name.c_str(), value.c_str(), 1) != 0)
        throw std::runtime_error(name + ": cannot be set: " + std::strerror(errno));
}

#endif

bool AreLogMessagesWanted() {
    const char* const level = std::getenv("OX_LOG_LEVEL");
    return level && *level;
}

} // namespace TellarTool
