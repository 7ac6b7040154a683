#include <OxTellarSDK/Capture.h>

#include <filesystem>
#include <system_error>
#include <vector>

#include <xxhash.h>

#include <OxTellarSDK/TellarError.h>

#include "CaptureLayout.h"
#include "NamingFile.h"
#include "files/ReplacingFile.h"

using namespace OxAttribute;

namespace OxCapture {

namespace {

using Children = std::vector<GroupAttribute::Child>;

/// Captures come from others: a name must not lead out of its folder.
bool IsPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\\\0", 3)) == std::string::npos;
}

void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    NamingFile(path.string(), [&] {
        TellarInternal::ReplacingFile file(path.string(),
                                           "Cannot write file \"" + path.string() + '"');
        file.write(bytes.data(), bytes.size());
        file.replace();
    });
}

} // namespace

GroupAttribute DescribeCapture(const std::string& path, bool isStrict, const std::string& files) {
    Children args{{"file", StringAttribute(std::filesystem::absolute(path).string())},
                  {"strict", IntAttribute(isStrict)}};
    if (!files.empty()) args.emplace_back("files", StringAttribute(files));
    const GroupAttribute op(Children{{"opType", StringAttribute("CapturedScene")},
                                     {"opArgs", GroupAttribute(args, true)}},
                            true);
    return GroupAttribute(Children{{"capture", op}}, true);
}

bool IsCapture(FileStream& file) {
    std::string start(kMagic.size(), '\0');
    std::size_t filled = 0;
    while (filled < start.size()) {
        const std::int64_t got = FileStream::read(&file, start.data() + filled,
                                                  static_cast<std::int64_t>(start.size() - filled));
        if (got <= 0) break;
        filled += static_cast<std::size_t>(got);
    }
    file.rewind();
    return start == kMagic;
}

std::string ReplayedFile(const std::string& path) {
    const std::filesystem::path file = path;
    const std::string folder = file.parent_path().generic_string();
    const Hash hash{{XXH3_64bits(folder.data(), folder.size()), 0}};
    return hash.str().substr(0, 16) + '/' + file.filename().string();
}

std::size_t ExtractFiles(const Reader& capture, const std::string& folder) {
    std::size_t count = 0;
    for (const std::string& path : capture.getKeys(kFile)) {
        const StringAttribute bytes(capture.find(kFile, path).value_or(Attribute()));
        if (!bytes.isValid() || !IsPlainName(std::filesystem::path(path).filename().string()))
            continue;
        WriteBytes(std::filesystem::path(folder) / ReplayedFile(path), bytes.getValueView());
        ++count;
    }
    return count;
}

} // namespace OxCapture
