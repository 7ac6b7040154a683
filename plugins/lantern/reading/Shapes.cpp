#include "reading/Shapes.h"

#include <utility>

#include "reading/ReadCurves.h"
#include "reading/ReadMesh.h"
#include "reading/ReadSpheres.h"
#include "reading/ReadSubdivision.h"

namespace lantern {

namespace {

std::optional<Shape> ReadShape(Kind kind, const ShapeReader& reader, const Attribute& geometry) {
    Shape shape;
    if (kind == Kind::Mesh || kind == Kind::SubdivisionMesh) {
        if (IsSubdivided(geometry, kind == Kind::SubdivisionMesh))
            return ReadSubdivisionSurface(reader, geometry);
        std::optional<Mesh> mesh = ReadMesh(reader, geometry);
        if (!mesh) return {};
        shape.mesh = std::move(*mesh);
    } else if (kind == Kind::Curves) {
        std::optional<Curves> curves = ReadCurves(reader, geometry);
        if (!curves) return {};
        shape.curves = std::move(*curves);
    } else {
        std::optional<Spheres> spheres =
            kind == Kind::Sphere ? ReadSphere(reader, geometry) : ReadPoints(reader, geometry);
        if (!spheres) return {};
        shape.spheres = std::move(*spheres);
    }
    return shape;
}

} // namespace

Index Shapes::find(Kind kind, const Attribute& geometry, const Place& place) {
    const Hash ofKind{{static_cast<std::uint64_t>(kind), 0}};
    const Hash content = geometry.hash().with(ofKind);
    const std::shared_ptr<Entry> entry = entryOf(content);
    const std::lock_guard<std::mutex> guard(entry->lock);
    if (!entry->isRead) {
        const Index earlier = memory.find(content);
        entry->shape = earlier == kNone ? read(kind, geometry, content, place)
                                        : add({{}, {content, earlier, false}});
        entry->isRead = true;
    }
    return entry->shape;
}

std::shared_ptr<Shapes::Entry> Shapes::entryOf(const Hash& key) {
    Shard& shard = shards[key.words[1] % shards.size()];
    const std::lock_guard<std::mutex> guard(shard.lock);
    std::shared_ptr<Entry>& entry = shard.entries[key];
    if (!entry) entry = std::make_shared<Entry>();
    return entry;
}

Index Shapes::read(Kind kind, const Attribute& geometry, const Hash& content, const Place& place) {
    const ShapeReader reader{suites, shutter,
                             [&](const std::string& what) { warnings.warn(place.path(), what); }};
    std::optional<Shape> shape = ReadShape(kind, reader, geometry);
    if (!shape) return kNone;
    const bool isSubdivided = shape->subdivision != nullptr;
    return add({std::move(*shape), {content, kNone, isSubdivided}});
}

Index Shapes::add(Found found) {
    const std::lock_guard<std::mutex> guard(lock);
    shapes.push_back(std::move(found));
    return static_cast<Index>(shapes.size() - 1);
}

} // namespace lantern
