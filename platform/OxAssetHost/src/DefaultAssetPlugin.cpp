#include "DefaultAssetPlugin.h"

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/StringUtil.h>

#include "ReferenceText.h"
#include "files/PathList.h"

namespace {

constexpr const char* kSearchPathKey = "ASSET_SEARCH_PATH";

// One entry of the search path.
struct SearchFolder {
    /// Empty when the entry cannot be expanded.
    std::string path;
    /// The plug-in's name in messages, with the reason if it was not used.
    std::string description;
};

std::vector<SearchFolder> SearchFolders() {
    std::vector<SearchFolder> folders;
    for (const std::string& entry : OxStringUtil::split(
             Config()->get(kSearchPathKey), std::string(1, TellarInternal::kPathListSeparator))) {
        std::string why;
        const auto expanded = ExpandReference(entry, std::nullopt, why);
        if (!expanded) {
            folders.push_back({"", QuotedForMessage(entry) + " (" + why + ")"});
        } else if (!expanded->text.empty()) {
            folders.push_back({expanded->text, QuotedForMessage(expanded->text)});
        }
    }
    return folders;
}

// True for a relative path that does not begin with "./" or "../".
bool IsSearched(const std::string& reference) {
    if (reference == "." || reference == "..") return false;
    if (HasPathSeparator(reference.substr(0, 1))) return false;
    for (const char* start : {"./", "../"}) {
        if (OxStringUtil::startswith(reference, start)) return false;
    }
    return !std::filesystem::path(reference).is_absolute();
}

std::string Joined(const std::string& folder, const std::string& reference) {
    const bool endsWithSeparator = HasPathSeparator(OxStringUtil::slice(folder, -1));
    return folder + (endsWithSeparator ? "" : "/") + reference;
}

// A path that cannot be examined counts as missing.
bool Exists(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

std::string NotFoundIn(const std::vector<SearchFolder>& folders) {
    std::string list;
    for (const SearchFolder& folder : folders)
        list += (list.empty() ? "" : ", ") + folder.description;
    return std::string("it is in no folder of ") + kSearchPathKey + ": " + list;
}

// Returns nothing and assigns `why` when the reference cannot be resolved.
std::optional<std::string> Resolve(const std::string& reference, int frame, std::string& why) {
    const auto expanded = ExpandReference(reference, frame, why);
    if (!expanded) return std::nullopt;
    if (expanded->text.empty() || !IsSearched(expanded->text)) return expanded->text;

    const std::vector<SearchFolder> folders = SearchFolders();
    for (const SearchFolder& folder : folders) {
        if (folder.path.empty()) continue;
        std::string path = Joined(folder.path, expanded->text);
        if (Exists(path)) return path;
    }
    const bool isWord = !expanded->hasFrameToken && !HasPathSeparator(expanded->text);
    if (isWord || folders.empty()) return expanded->text;
    why = NotFoundIn(folders);
    return std::nullopt;
}

} // namespace

std::string DefaultAssetPlugin::resolvePath(const std::string& reference, int frame,
                                            bool mustResolve) const {
    std::string why;
    if (auto resolved = Resolve(reference, frame, why)) return *std::move(resolved);
    if (!mustResolve) return reference;
    throw std::runtime_error("Asset reference " + QuotedForMessage(reference) +
                             " cannot be resolved: " + why + ".");
}
