#include "PictureTarget.h"

#include <filesystem>
#include <limits>
#include <stdexcept>

#include "Output.h"
#include "RendererRun.h"
#include "files/RegularFile.h"
#include "files/ReplacingFile.h"

namespace TellarTool {

namespace {

std::string ReadPicture(const std::string& path) {
    std::string reason;
    const auto content = RegularFile::Read(path, std::numeric_limits<std::uint64_t>::max(), reason);
    if (!content) throw std::runtime_error(path + ": " + reason);
    return *content;
}

} // namespace

PictureTarget::PictureTarget(const std::string& picture) : picture(picture), path(picture) {
    if (picture != kStandardOutput && !TellarInternal::IsDeviceOrPipe(picture)) return;
    const std::string extension = std::filesystem::path(picture).extension().string();
    folder.emplace();
    path = folder->file("picture" + (extension.size() > 1 ? extension : ".png"));
}

void PictureTarget::store(const std::string& written) const {
    if (!folder) return;
    const std::string content = ReadPicture(written);
    if (picture == kStandardOutput)
        WriteOutput(content);
    else
        WriteFile(picture, content);
}

void PictureTarget::deliver(const std::string& written) const {
    store(written);
    if (picture != kStandardOutput) PrintPicturePath(folder ? picture : written);
}

} // namespace TellarTool
