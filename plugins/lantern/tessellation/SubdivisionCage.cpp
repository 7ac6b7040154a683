#include "tessellation/SubdivisionCage.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include <opensubdiv/far/error.h>
#include <opensubdiv/far/topologyDescriptor.h>

namespace lantern {
namespace {

namespace Far = OpenSubdiv::Far;
namespace Sdc = OpenSubdiv::Sdc;

Sdc::SchemeType SchemeOf(const Subdivision& subdivision) {
    switch (subdivision.scheme) {
    case Subdivision::Scheme::Loop:
        return Sdc::SCHEME_LOOP;
    case Subdivision::Scheme::Bilinear:
        return Sdc::SCHEME_BILINEAR;
    case Subdivision::Scheme::CatmullClark:
        break;
    }
    return Sdc::SCHEME_CATMARK;
}

Sdc::Options OptionsOf(const Subdivision& subdivision) {
    static constexpr Sdc::Options::VtxBoundaryInterpolation kBoundaries[] = {
        Sdc::Options::VTX_BOUNDARY_NONE, Sdc::Options::VTX_BOUNDARY_EDGE_ONLY,
        Sdc::Options::VTX_BOUNDARY_EDGE_AND_CORNER};
    static constexpr Sdc::Options::FVarLinearInterpolation kFaceVarying[] = {
        Sdc::Options::FVAR_LINEAR_NONE,          Sdc::Options::FVAR_LINEAR_CORNERS_ONLY,
        Sdc::Options::FVAR_LINEAR_CORNERS_PLUS1, Sdc::Options::FVAR_LINEAR_CORNERS_PLUS2,
        Sdc::Options::FVAR_LINEAR_BOUNDARIES,    Sdc::Options::FVAR_LINEAR_ALL};
    Sdc::Options options;
    options.SetVtxBoundaryInterpolation(kBoundaries[static_cast<int>(subdivision.boundary)]);
    options.SetFVarLinearInterpolation(kFaceVarying[static_cast<int>(subdivision.faceVarying)]);
    return options;
}

template <typename Value>
WeldedValues Weld(const CornerValues<Value>& given, const std::vector<int>& points) {
    WeldedValues welded{int(sizeof(Value) / sizeof(float)), {}, {}};
    std::map<std::pair<int, std::array<float, 4>>, int> known;
    for (std::size_t corner = 0; corner < points.size(); ++corner) {
        const Value& value = given.values[given.index[corner]];
        std::array<float, 4> numbers{};
        std::copy_n(&value[0], welded.size, numbers.begin());
        const auto [entry, isNew] =
            known.try_emplace({points[corner], numbers}, static_cast<int>(known.size()));
        if (isNew)
            welded.values.insert(welded.values.end(), numbers.begin(),
                                 numbers.begin() + welded.size);
        welded.index.push_back(entry->second);
    }
    return welded;
}

using Channel = Far::TopologyDescriptor::FVarChannel;

/// Refers to the values.
std::vector<Channel> ChannelsOf(const std::vector<WeldedValues>& values) {
    std::vector<Channel> channels(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        channels[i].numValues = values[i].count();
        channels[i].valueIndices = values[i].index.data();
    }
    return channels;
}

void DescribeSharpness(const Subdivision& subdivision, Far::TopologyDescriptor& cage) {
    cage.numCreases = static_cast<int>(subdivision.creaseSharpness.size());
    cage.creaseVertexIndexPairs = subdivision.creases.data();
    cage.creaseWeights = subdivision.creaseSharpness.data();
    cage.numCorners = static_cast<int>(subdivision.sharpPoints.size());
    cage.cornerVertexIndices = subdivision.sharpPoints.data();
    cage.cornerWeights = subdivision.pointSharpness.data();
}

/// Refers to the subdivision and the channels.
Far::TopologyDescriptor CageOf(const Subdivision& subdivision, std::size_t pointCount,
                               const std::vector<Channel>& channels) {
    Far::TopologyDescriptor cage;
    cage.numVertices = static_cast<int>(pointCount);
    cage.numFaces = static_cast<int>(subdivision.faceSizes.size());
    cage.numVertsPerFace = subdivision.faceSizes.data();
    cage.vertIndicesPerFace = subdivision.corners.data();
    cage.numHoles = static_cast<int>(subdivision.holes.size());
    cage.holeIndices = subdivision.holes.data();
    cage.numFVarChannels = static_cast<int>(channels.size());
    cage.fvarChannels = channels.data();
    DescribeSharpness(subdivision, cage);
    return cage;
}

} // namespace

std::vector<WeldedValues> WeldValues(const Subdivision& subdivision) {
    std::vector<WeldedValues> values;
    for (const UvSet& set : subdivision.uvSets)
        values.push_back(Weld(set.st, subdivision.corners));
    for (const ColorSet& set : subdivision.colorSets)
        values.push_back(Weld(set.colors, subdivision.corners));
    return values;
}

std::unique_ptr<Far::TopologyRefiner> MakeRefiner(const Subdivision& subdivision,
                                                  std::size_t pointCount,
                                                  const std::vector<WeldedValues>& values) {
    // The messages are about crease edges that the cage does not have, which do no harm.
    Far::SetWarningCallback([](const char*) {});
    Far::SetErrorCallback([](Far::ErrorType, const char*) {});
    const std::vector<Channel> channels = ChannelsOf(values);
    const Far::TopologyDescriptor cage = CageOf(subdivision, pointCount, channels);
    using RefinerFactory = Far::TopologyRefinerFactory<Far::TopologyDescriptor>;
    const RefinerFactory::Options options(SchemeOf(subdivision), OptionsOf(subdivision));
    return std::unique_ptr<Far::TopologyRefiner>(RefinerFactory::Create(cage, options));
}

} // namespace lantern
