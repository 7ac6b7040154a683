#include "LoadedLibraries.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <tuple>

#if defined(__linux__)
#include <link.h>
#endif

namespace TellarTool {

namespace {

constexpr std::string_view kOwnLibraries[] = {
    "OxAssetHost",  "OxConfiguration",      "OxLoggingHost",
    "OxPluginHost", "OxRenderServices",     "OxTellarProducers",
    "OxTellarSDK",  "OxTellarServicesHost", "ResolutionTableOx",
};

constexpr std::string_view kPrefix = "lib";
constexpr std::string_view kSuffix = ".so";

#if defined(__linux__)
std::vector<std::string> GetLoadedFiles() {
    std::vector<std::string> files;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* found) {
            if (info->dlpi_name && *info->dlpi_name)
                static_cast<std::vector<std::string>*>(found)->emplace_back(info->dlpi_name);
            return 0;
        },
        &files);
    return files;
}
#else
std::vector<std::string> GetLoadedFiles() {
    return {};
}
#endif

/// "OxTellarSDK" for /usr/lib/libOxTellarSDK.so.0.1.0; empty for what is not named like a library.
std::string LibraryName(const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    const std::size_t suffix = name.find(kSuffix);
    if (name.compare(0, kPrefix.size(), kPrefix) != 0 || suffix == std::string::npos) return {};
    return name.substr(kPrefix.size(), suffix - kPrefix.size());
}

/// "0.1.0" for /usr/lib/libOxTellarSDK.so.0.1.0.
std::string LibraryVersion(const std::filesystem::path& file) {
    const std::string name = file.filename().string();
    const std::size_t begin = name.find(kSuffix) + kSuffix.size() + 1;
    return begin < name.size() ? name.substr(begin) : std::string();
}

std::filesystem::path WithoutLinks(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(file, error);
    return error ? file : real;
}

} // namespace

std::vector<LoadedLibrary> GetLoadedLibraries() {
    std::vector<LoadedLibrary> libraries;
    for (const std::string& loaded : GetLoadedFiles()) {
        const std::string name = LibraryName(loaded);
        const auto* const end = std::end(kOwnLibraries);
        if (std::find(std::begin(kOwnLibraries), end, name) == end) continue;
        const std::filesystem::path file = WithoutLinks(loaded);
        libraries.push_back({name, LibraryVersion(file), file.string()});
    }
    std::sort(libraries.begin(), libraries.end(), [](const auto& a, const auto& b) {
        return std::tie(a.name, a.file) < std::tie(b.name, b.file);
    });
    return libraries;
}

} // namespace TellarTool
