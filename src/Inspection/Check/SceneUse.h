#ifndef TELLAR_CHECK_SCENEUSE_H
#define TELLAR_CHECK_SCENEUSE_H

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "Findings.h"

namespace TELLAR {

/// Collects what the locations of a scene offer and use, to find at the end what nothing uses.
/// Threads: any, but for the last function.
class SceneUse {
public:
    explicit SceneUse(std::shared_ptr<TellarRuntime::Client> client) : client(std::move(client)) {}

    /// What a path in "materialAssign" leads to.
    enum class Target { Material, OtherLocation, Nothing };
    /// Notes that the path is assigned. It is cooked once. What cannot be cooked is taken for a
    /// material, because the cook reports it.
    Target noteAssignment(const std::string& path);

    /// A location other than a material has this "material".
    void noteUsedMaterial(const OxAttribute::Hash& material);
    /// A location of type "material".
    void noteMaterial(const VisitedLocation& visited, const OxAttribute::Hash& material);
    /// A location of type "camera".
    void noteCamera(const VisitedLocation& visited);

    /// Adds findings about unused materials, and about cameras that are missing or unused.
    void report(const GeometryProducer::Ptr& root, Findings& findings) const;

private:
    struct Offer {
        Place place;
        std::string path;
        OxAttribute::Hash material; // the zero hash for cameras
    };

    Target find(const std::string& path) const;
    bool canBeCooked(const std::string& path) const;
    void reportMaterials(Findings& findings) const;
    void reportCameras(const GeometryProducer::Ptr& root, Findings& findings) const;

    const std::shared_ptr<TellarRuntime::Client> client;
    mutable std::mutex lock; // guards the members below
    std::map<std::string, Target> assigned;
    std::set<OxAttribute::Hash> usedMaterials;
    std::vector<Offer> materials;
    std::vector<Offer> cameras;
};

} // namespace TELLAR

#endif
