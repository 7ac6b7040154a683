// The op that records what is cooked through it.
#include <OxTellarSDK/Capture.h>

#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <utility>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarSDK/TextureReferences.h>

#include "RecordedAnswers.h"
#include "files/RegularFile.h"

using namespace OxAttribute;
using OxOpType::CookContext;
using OxOpType::InstanceContext;
using OxOpType::Instances;
using OxOpType::SubtreeContext;
using OxOpType::SubtreeFacts;

namespace OxCapture {

namespace {

using Children = std::vector<GroupAttribute::Child>;

constexpr const char* kTypeName = "CaptureRecorder";
constexpr std::uint64_t kMostFileBytes = std::uint64_t(4000) << 20; // of a string attribute

/// The writers in use by number, which is the argument of ops.
class Writers {
public:
    int add(const std::shared_ptr<Writer>& writer) {
        const std::lock_guard<std::mutex> guard(lock);
        for (auto known = writers.begin(); known != writers.end();)
            known = known->second.expired() ? writers.erase(known) : std::next(known);
        writers.emplace(++last, writer);
        return last;
    }

    /// Null when the writer is gone.
    std::shared_ptr<Writer> find(int number) {
        const std::lock_guard<std::mutex> guard(lock);
        const auto found = writers.find(number);
        return found != writers.end() ? found->second.lock() : nullptr;
    }

private:
    std::mutex lock;
    int last = 0;
    std::map<int, std::weak_ptr<Writer>> writers;
};

Writers& GetWriters() {
    static Writers* const writers = new Writers;
    return *writers;
}

/// What an op records into.
class Recording : public OxOpType::State {
public:
    Recording(std::shared_ptr<Writer> writer, bool withTextures)
        : writer(std::move(writer)), withTextures(withTextures) {}

    void addLocation(const std::string& path, const TellarRuntime::LocationData& location) const {
        if (withTextures) addTextures(location.getAttrs());
        writer->add(kLocation, path, FromLocation(location));
    }
    /// A cook that ended for want of memory may succeed the next time.
    void addError(const std::string& path, const std::exception_ptr& error) const {
        const OxErrorCode code = FactsOf(error).code;
        if (code != kOxErrorMemory && code != kOxErrorCancelled)
            writer->add(kLocation, path, FromError(error));
    }
    void add(std::string_view question, const std::string& path, const Attribute& answer) const {
        writer->add(question, path, answer);
    }

private:
    void addTextures(const GroupAttribute& attrs) const {
        for (const TextureReference& texture : FindTextures(attrs)) {
            if (!IsTilePattern(texture.file)) addFile(texture.file);
            for (const std::string& tile : FindTiles(texture.file))
                addFile(tile);
        }
    }

    /// A file that cannot be read is not recorded; the renderer does not get it either.
    void addFile(const std::string& path) const {
        {
            const std::lock_guard<std::mutex> guard(lock);
            if (!files.insert(path).second) return;
        }
        std::string ignored;
        const auto bytes = RegularFile::Read(path, kMostFileBytes, ignored);
        if (bytes) writer->add(kFile, path, StringAttribute(*bytes));
    }

    const std::shared_ptr<Writer> writer;
    const bool withTextures;
    mutable std::mutex lock;
    mutable std::set<std::string> files; // those that were read; guarded by lock
};

template <typename Context>
const Recording& RecordingOf(const Context& context) {
    return static_cast<const Recording&>(*context.state());
}

class CaptureRecorder final : public OxOpType::OpType {
public:
    const OxOpType::Description& description() const override {
        static const OxOpType::Description description{
            kTypeName,
            1,
            "Presents its input, and records in a capture what is asked of it. Made by programs "
            "that write captures.",
            {{"writer", "int", "The number of the writer in this process. Required."},
             {"textures", "int", "1 records the files of textures as well. Default: 0."}},
            "one"};
        return description;
    }

    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                   std::size_t) const override {
        const auto number = [&args](const char* name) {
            return args.isValid() ? IntAttribute(args.getChildByName(name)).getValue(0, false) : 0;
        };
        auto writer = GetWriters().find(number("writer"));
        if (!writer) throw TellarError::OfAttribute("writer", "There is no such writer.");
        return std::make_shared<const Recording>(std::move(writer), number("textures") != 0);
    }

    void cook(CookContext& context) const override {
        const Recording& recording = RecordingOf(context);
        TellarRuntime::LocationData location;
        try {
            location = context.input(0);
        } catch (...) {
            recording.addError(context.path(), std::current_exception());
            throw;
        }
        recording.addLocation(context.path(), location);
        if (location.doesLocationExist()) context.pass(location);
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        SubtreeFacts facts = context.input(0);
        RecordingOf(context).add(kSubtree, context.path(), FromSubtree(facts));
        return facts;
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        auto instances = context.instances(0, context.path());
        RecordingOf(context).add(kInstances, context.path(), FromInstances(instances.get()));
        return instances;
    }
};

void RegisterRecorderOnce() {
    static const bool isRegistered = [] {
        OxOpType::RegisterOpType(new CaptureRecorder);
        return true;
    }();
    static_cast<void>(isRegistered);
}

} // namespace

GroupAttribute WithRecorder(const GroupAttribute& description,
                            const std::shared_ptr<Writer>& writer, Recorded what) {
    RegisterRecorderOnce();
    Children ops;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        ops.emplace_back(description.getChildName(i), description.getChildByIndex(i));
    const std::string last = ops.empty() ? std::string() : ops.back().first;
    std::string name = "recorder";
    while (description.findChild(name) >= 0)
        name += '_';
    const GroupAttribute args(
        Children{{"writer", IntAttribute(GetWriters().add(writer))},
                 {"textures", IntAttribute(what == Recorded::SceneAndTextures)}},
        true);
    ops.emplace_back(std::move(name),
                     GroupAttribute(Children{{"opType", StringAttribute(kTypeName)},
                                             {"opArgs", args},
                                             {"opInputs", StringAttribute(last)}},
                                    true));
    return GroupAttribute(ops, true);
}

} // namespace OxCapture
