#include "Subcommands.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "JsonText.h"
#include "Output.h"
#include "PrintableText.h"
#include "Scene.h"
#include "SceneFiles.h"
#include "SceneOptions.h"
#include "Table.h"

namespace TellarTool {

namespace {

constexpr const char* kExamples = R"(Examples:
  tellar deps examples/garden.json
  tellar deps model.gltf --json)";

struct DepsOptions {
    std::string scene;
    bool json = false;
};

/// A line of the printed list.
struct Dependency {
    std::string kind; ///< "scene", "model", "part", "texture" or "embedded"
    std::string path;
    std::string owner; ///< the model to which the file belongs; empty if there is none
    bool isMissing;
};

/// Collects lines, one for each file.
class DependencyList {
public:
    void add(const char* kind, const std::string& path, const std::string& owner) {
        if (known.insert(path).second) files.push_back({kind, path, owner, !IsFile(path)});
    }

    void add(const std::vector<TextureFile>& textures, const std::string& owner) {
        for (const TextureFile& texture : textures)
            for (const std::string& file : texture.files)
                add("texture", file, owner);
    }

    const std::vector<Dependency>& get() const { return files; }

private:
    std::vector<Dependency> files;
    std::set<std::string> known;
};

std::vector<Dependency> ListOf(const SceneFiles& files) {
    DependencyList list;
    if (!files.scene.empty()) list.add("scene", files.scene, {});
    for (const ImportedFile& import : files.imports) {
        list.add("model", import.file, {});
        for (const std::string& part : import.parts)
            list.add("part", part, import.file);
        list.add(import.textures, import.file);
        for (const std::string& image : import.embedded)
            list.add("embedded", image, import.file);
    }
    list.add(files.textures, {});
    return list.get();
}

std::string TextOf(const std::vector<Dependency>& files) {
    Table rows;
    for (const Dependency& file : files) {
        std::string path;
        AppendPrintable(path, file.path);
        if (file.kind == "embedded") AppendPrintable(path, "  (in " + file.owner + ")");
        rows.push_back({file.kind, path + (file.isMissing ? "  (missing)" : "")});
    }
    std::string text;
    AppendTable(text, rows);
    return text;
}

std::string JsonOf(const std::vector<Dependency>& files, std::size_t missing) {
    std::vector<std::string> lines;
    lines.reserve(files.size());
    for (const Dependency& file : files)
        lines.push_back(JsonObject()
                            .add("kind", file.kind)
                            .add("path", file.path)
                            .addJson("model", JsonOrNull(file.owner))
                            .addJson("missing", file.isMissing ? "true" : "false")
                            .line());
    return JsonObject()
        .addJson("files", JsonLines(lines))
        .addJson("missing", std::to_string(missing))
        .document();
}

/// The reason why the list may be incomplete; empty if it is complete.
std::string FailureOf(const SceneFiles& files) {
    for (const ImportedFile& import : files.imports)
        if (!import.failure.empty()) return import.file + ": " + import.failure;
    return files.failure;
}

void RunDeps(const DepsOptions& options) {
    const SceneFiles found = FindSceneFiles(Scene(options.scene));
    const std::vector<Dependency> files = ListOf(found);
    const auto missing = static_cast<std::size_t>(std::count_if(
        files.begin(), files.end(), [](const Dependency& file) { return file.isMissing; }));
    WriteOutput(options.json ? JsonOf(files, missing) : TextOf(files));
    FlushOutput();
    const std::string failure = FailureOf(found);
    if (missing > 0) {
        if (!failure.empty()) WriteErrorLine(failure);
        throw ProblemsFound();
    }
    if (!failure.empty()) throw std::runtime_error(failure);
}

} // namespace

void AddDepsCommand(CLI::App& app) {
    const auto options = std::make_shared<DepsOptions>();
    CLI::App& command = *app.add_subcommand("deps", "List every file that a scene needs");
    AddScene(command, options->scene)->required();
    command.add_flag("--json", options->json, "Print a JSON object");
    command.footer(kExamples);
    command.callback([options] { RunDeps(*options); });
}

} // namespace TellarTool
