#include "SceneWatch.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <new>
#include <stdexcept>
#include <thread>
#include <utility>

#include <OxTellarProducers/SceneChanges.h>

#include "ChangeLines.h"
#include "Output.h"
#include "PrintableText.h"
#include "StopSignals.h"

namespace TellarTool {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(100);
constexpr std::size_t kMostLines = 20; // about one change of the files

void AddFiles(const std::vector<TextureFile>& textures, std::set<std::string>& files) {
    for (const TextureFile& texture : textures)
        files.insert(texture.files.begin(), texture.files.end());
}

std::set<std::string> FilesOf(const ImportedFile& import) {
    std::set<std::string> files{import.file};
    files.insert(import.parts.begin(), import.parts.end());
    AddFiles(import.textures, files);
    return files;
}

void PrintChangedFiles(const std::set<std::string>& changed) {
    for (const std::string& file : changed) {
        std::string line = "changed file ";
        AppendPrintable(line, file);
        WriteErrorLine(line);
    }
}

} // namespace

SceneWatch::SceneWatch(const std::string& path, Open open, Draw draw)
    : open(std::move(open)), draw(std::move(draw)), files({AbsolutePath(path)}) {}

void SceneWatch::run() {
    scene = open(versions);
    for (;;) {
        drawAndLookForFiles();
        const std::set<std::string> changed = waitForChange();
        if (changed.empty()) return;
        PrintChangedFiles(changed);
        openAgain(changed);
    }
}

void SceneWatch::drawAndLookForFiles() {
    isComplete = false;
    try {
        draw(*scene);
        isComplete = true;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        WriteErrorLine(error.what());
    }
    const SceneFiles found = FindSceneFiles(*scene);
    std::set<std::string> all;
    AddFiles(found.textures, all);
    for (const ImportedFile& import : found.imports) {
        filesOfImports[import.file] = FilesOf(import);
        all.merge(FilesOf(import));
    }
    for (const std::string& file : all)
        files.add(file);
}

/// Returns the changed files when they are at rest; none when the user has ended the watch.
std::set<std::string> SceneWatch::waitForChange() {
    const StopSignals signals;
    WriteErrorLine("watching " + std::to_string(files.count()) +
                   (files.count() == 1 ? " file" : " files"));
    WatchedFiles last = files;
    for (;;) {
        std::this_thread::sleep_for(kBetweenLooks);
        if (signals.noted() == SIGINT && isComplete) return {};
        signals.throwIfNoted(isComplete ? "the last picture is complete"
                                        : "the last picture is missing");
        WatchedFiles now = last;
        now.refresh();
        const bool isAtRest = now.changedSince(last).empty();
        std::set<std::string> changed = now.changedSince(files);
        last = std::move(now);
        if (!isAtRest || changed.empty()) continue;
        files = std::move(last);
        return changed;
    }
}

/// Keeps the scene that there is when the new one cannot be opened.
void SceneWatch::openAgain(const std::set<std::string>& changed) {
    for (const auto& [import, parts] : filesOfImports)
        for (const std::string& file : parts)
            if (changed.count(file) > 0) {
                ++versions[import];
                break;
            }
    try {
        Scene next = open(versions);
        const auto changes = TELLAR::CompareScenes(scene->getClient(), next.getClient());
        for (const std::string& line : LinesOf(changes, kMostLines))
            WriteErrorLine(line);
        scene = std::move(next);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        WriteErrorLine(error.what());
    }
}

} // namespace TellarTool
