// Moves a location of a scene while another thread prints what changes:
// live <scene> <location> [edits]
#include <atomic>
#include <chrono>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>

#include <OxTellarProducers/Scene.h>

using namespace OxAttribute;
using TELLAR::SceneChange;

static std::string Describe(const SceneChange& change) {
    if (change.kind == SceneChange::Added) return "added " + change.path;
    if (change.kind == SceneChange::Removed) return "removed " + change.path;
    const bool isTransform = change.mask == TELLAR::kTransformChanged;
    return "changed " + change.path + (isTransform ? " (transform)" : "");
}

static void Follow(TELLAR::SceneSubscription& changes, const std::atomic<bool>& isEdited) {
    while (isEdited || changes.wait(std::chrono::seconds(0))) {
        if (!changes.wait(std::chrono::milliseconds(100))) continue;
        const auto update = changes.take();
        if (!update) continue;
        for (const SceneChange& change : update->getChanges())
            std::cout << "revision " << update->getNewRevision() << ": " << Describe(change)
                      << std::endl;
        changes.acknowledge(*update);
    }
}

/// Adds an op "live" behind all others, which moves the location.
static void AddMove(TELLAR::Scene& scene, const std::string& location) {
    const GroupAttribute ops = scene.getDescription();
    const std::string last = ops.getChildName(ops.getNumberOfChildren() - 1);
    TELLAR::SceneEdit edit = scene.edit();
    edit.addOp("live", "Transform", GroupAttribute({{"paths", StringAttribute(location)}}, true),
               {last});
    edit.setTerminal("live");
    edit.commit();
}

static void Move(TELLAR::Scene& scene, int edits) {
    for (int i = 1; i <= edits; ++i) {
        TELLAR::SceneEdit edit = scene.edit();
        edit.setOpArg("live", "translate", DoubleAttribute({0.0, 0.1 * i, 0.0}, 3));
        edit.commit();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

int main(int argc, char** argv) try {
    if (argc < 3) throw std::invalid_argument("usage: live <scene> <location> [edits]");
    const int edits = argc > 3 ? std::stoi(argv[3]) : 10;
    const auto scene = TELLAR::Scene::Open(argv[1]);
    const auto root = scene->getRoot();
    if (!root || !root->getProducerByPath(argv[2]))
        throw std::runtime_error("there is no such location");
    const auto changes = scene->subscribe();
    std::atomic<bool> isEdited{true};
    AddMove(*scene, argv[2]);
    std::thread receiver([&] { Follow(*changes, isEdited); });
    Move(*scene, edits);
    isEdited = false;
    receiver.join();
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
