#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include <OxTellarSDK/Capture.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarSDK/TextureReferences.h>

#include "BuiltinOp.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

using OxCapture::Reader;
using OxOpType::InstanceContext;
using OxOpType::Instances;
using OxOpType::SubtreeContext;
using OxOpType::SubtreeFacts;

std::string FolderOf(const std::string& file) {
    return std::filesystem::path(file).parent_path().string();
}

class CapturedState : public State {
public:
    CapturedState(std::shared_ptr<const Reader> reader, bool isStrict, std::string files)
        : reader(std::move(reader)), isStrict(isStrict), files(std::move(files)) {
        if (this->files.empty()) return;
        for (const std::string& file : this->reader->getKeys(OxCapture::kFile))
            folders.insert(FolderOf(file));
    }

    const Reader& getReader() const { return *reader; }

    /// The recorded location, or nothing if it shall not exist.
    std::optional<LocationData> find(const std::string& path) const {
        std::optional<LocationData> location = reader->findLocation(path);
        if (!location && isStrict) {
            ErrorFacts facts;
            facts.code = kOxErrorFile;
            facts.text = reader->noteMissing('"' + path + '"');
            facts.location = path;
            facts.file = reader->getPath();
            throw TellarError(std::move(facts));
        }
        return location;
    }

    /// The attributes with the paths of the textures that were in the capture.
    GroupAttribute withFiles(const GroupAttribute& attrs) const {
        if (folders.empty()) return attrs;
        return OxAttribute::WithTextures(attrs, [this](const std::string& file) {
            return folders.count(FolderOf(file)) > 0 ? files + '/' + OxCapture::ReplayedFile(file)
                                                     : std::string();
        });
    }

private:
    const std::shared_ptr<const Reader> reader;
    const bool isStrict;
    const std::string files;
    std::set<std::string> folders; // of recorded files
};

class CapturedScene final : public BuiltinOp {
public:
    CapturedScene()
        : BuiltinOp({"CapturedScene",
                     1,
                     "Presents the locations that were recorded in a capture.",
                     {{"file", "string", "The capture. Required."},
                      {"strict", "int",
                       "1 makes every location that was not recorded an error. Otherwise it does "
                       "not exist. Default: 0."},
                      {"files", "string",
                       "A folder with the files of the capture, which textures then use. Default: "
                       "the recorded paths."}},
                     "none"},
                    Inputs::None) {}

    void cook(CookContext& context) const override {
        const auto& state = StateOf<CapturedState>(context);
        const std::optional<LocationData> location = state.find(context.path());
        if (!location || !location->doesLocationExist()) return;
        context.pass(*location);
        const GroupAttribute attrs = state.withFiles(location->getAttrs());
        if (attrs != location->getAttrs()) context.setAttrs(attrs);
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        return StateOf<CapturedState>(context).getReader().findSubtree(context.path());
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        return StateOf<CapturedState>(context).getReader().findInstances(context.path());
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        return std::make_shared<const CapturedState>(Reader::Open(args.requiredString("file")),
                                                     args.flag("strict", false),
                                                     args.string("files", ""));
    }
};

} // namespace

const OxOpType::OpType* CapturedSceneOpType() {
    static const auto* type = new CapturedScene;
    return type;
}

} // namespace TellarOps
