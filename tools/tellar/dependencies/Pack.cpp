#include "Pack.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

#include "Output.h"
#include "PackPlan.h"
#include "SceneFiles.h"
#include "files/RegularFile.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPieceBytes = 1 << 20;

[[noreturn]] void ThrowMissing(const std::string& file) {
    throw std::runtime_error(file + ": is missing; \"tellar deps\" lists all files of the scene, "
                                    "and --allow-missing packs the others");
}

void CheckTextures(const std::vector<TextureFile>& textures) {
    for (const TextureFile& texture : textures)
        for (const std::string& file : texture.files)
            if (!IsFile(file)) ThrowMissing(file);
}

/// A model that cannot be read is always an error, because the files that belong to it are unknown.
void CheckFiles(const SceneFiles& files, bool allowMissing) {
    for (const ImportedFile& import : files.imports) {
        if (!IsFile(import.file)) ThrowMissing(import.file);
        for (const std::string& part : import.parts)
            if (!allowMissing && !IsFile(part)) ThrowMissing(part);
        if (!import.failure.empty()) throw std::runtime_error(import.file + ": " + import.failure);
        if (!allowMissing) CheckTextures(import.textures);
    }
    if (!files.failure.empty()) throw std::runtime_error(files.failure);
    if (!allowMissing) CheckTextures(files.textures);
}

/// Throws Stopped after a signal.
void CheckSignals(const StopSignals& signals) {
    signals.throwIfNoted("nothing is packed");
}

[[noreturn]] void FailToCopy(const std::string& source, const fs::path& target,
                             const std::string& reason) {
    throw std::runtime_error(source + ": cannot be copied to " + target.string() + ": " + reason);
}

/// Copies in pieces, because a signal need not wait for the end of a large file.
void CopyContent(const std::string& source, const fs::path& target, const StopSignals& signals) {
    RegularFile::State state;
    std::string reason;
    const RegularFile::Pointer from = RegularFile::Open(source, state, reason);
    if (!from) FailToCopy(source, target, reason);
    RegularFile::Pointer to(std::fopen(target.c_str(), "wb"));
    std::vector<char> piece(kPieceBytes);
    std::size_t bytes = piece.size();
    bool isGood = to != nullptr;
    while (isGood && bytes == piece.size()) {
        CheckSignals(signals);
        bytes = std::fread(piece.data(), 1, piece.size(), from.get());
        isGood = !std::ferror(from.get()) && std::fwrite(piece.data(), 1, bytes, to.get()) == bytes;
    }
    isGood = isGood && std::fclose(to.release()) == 0;
    if (!isGood) FailToCopy(source, target, RegularFile::ReasonOf(errno));
}

void Copy(const std::string& source, const fs::path& target, const StopSignals& signals) {
    std::error_code error;
    fs::create_directories(target.parent_path(), error);
    if (error) FailToCopy(source, target, error.message());
    CopyContent(source, target, signals);
    fs::permissions(target, fs::status(source, error).permissions(), error);
    if (error) FailToCopy(source, target, error.message());
}

void CopyAll(const PackPlan& plan, const fs::path& folder, const StopSignals& signals) {
    for (const auto& [place, source] : plan.getSources()) {
        CheckSignals(signals);
        if (!fs::exists(folder / place)) Copy(source, folder / place, signals);
    }
    CheckSignals(signals);
}

const ImportedFile* FindImport(const SceneFiles& files, const std::string& path) {
    const auto found =
        std::find_if(files.imports.begin(), files.imports.end(),
                     [&path](const ImportedFile& import) { return import.file == path; });
    return found == files.imports.end() ? nullptr : &*found;
}

bool IsInside(const std::string& path, const fs::path& folder) {
    const fs::path relative = fs::path(path).lexically_relative(folder);
    return !relative.empty() && *relative.begin() != "..";
}

/// The original file of a texture that the packed import refers to.
std::string Original(const ImportedFile& import, const std::string& texture) {
    const fs::path name = fs::path(texture).filename();
    for (const TextureFile& candidate : import.textures)
        for (const std::string& file : candidate.files)
            if (file == texture || fs::path(file).filename() == name) return file;
    return {};
}

/// Adds the textures that a packed import refers to by absolute paths, or does not find.
void AddStrayTextures(PackPlan& plan, const ImportedFile& original, const ImportedFile& packed,
                      const fs::path& folder) {
    for (const TextureFile& texture : packed.textures) {
        for (const std::string& file : texture.files) {
            if (IsFile(file) && IsInside(file, folder)) continue;
            const std::string source = IsFile(file) ? file : Original(original, file);
            if (IsFile(source)) plan.addBeside(original.file, source);
        }
    }
}

/// Opens the packed scene as another user would. If a part is missing there, a file refers to it by
/// an absolute path.
void AddWhatIsMissed(PackPlan& plan, const SceneFiles& files, const fs::path& folder,
                     const StopSignals& signals) {
    const Scene packedScene((folder / plan.getSceneName()).string());
    const SceneFiles packed = FindSceneFiles(packedScene);
    // Ctrl-C ends the processes that read models, too, which is then no failure of the scene.
    CheckSignals(signals);
    if (!packed.failure.empty())
        throw std::runtime_error("the packed scene cannot be opened: " + packed.failure);
    for (const ImportedFile& original : files.imports) {
        const std::string path = (folder / plan.placeOf(original.file)).string();
        const ImportedFile* const import = FindImport(packed, path);
        if (!import) continue;
        for (const std::string& part : import->parts)
            if (IsFile(part) && !IsInside(part, folder))
                throw std::runtime_error(original.file + ": names \"" + part +
                                         "\" by an absolute path, and cannot be packed");
        AddStrayTextures(plan, original, *import, folder);
    }
}

} // namespace

SceneFiles FindFilesToPack(const Scene& scene, bool allowMissing) {
    SceneFiles files = FindSceneFiles(scene);
    CheckFiles(files, allowMissing);
    return files;
}

std::string WritePack(const Scene& scene, const SceneFiles& files, const std::string& folder,
                      const StopSignals& signals) {
    PackPlan plan(scene, files);
    const fs::path target = WithoutLinks(folder);
    CopyAll(plan, target, signals);
    std::string description = (target / plan.getSceneName()).string();
    WriteFile(description, plan.sceneText());
    AddWhatIsMissed(plan, files, target, signals);
    CopyAll(plan, target, signals);
    return description;
}

} // namespace TellarTool
