#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/LocationPath.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "SubtreeWalk.h"

// Op graphs drawn at random: what Ops tell of a subtree without cooking it has to agree with a
// walk.

namespace {

using namespace SubtreeWalk;

/// Draws scenes and Ops over the locations /root/{a,b,c}/{a,b,c}/..., so that they meet often.
class Dice {
public:
    explicit Dice(std::uint32_t seed) : engine(seed) {}

    std::size_t below(std::size_t count) { return engine() % count; }
    bool once(std::size_t in) { return below(in) == 0; }
    double number() { return static_cast<double>(below(2001)) / 100 - 10; }

    std::string name() { return std::string(1, "abc"[below(3)]); }
    std::string path() {
        std::string path = "/root";
        for (std::size_t levels = 1 + below(3); levels > 0; --levels)
            path += '/' + name();
        return path;
    }
    std::string glob() {
        static const char* const kGlobs[] = {"/root/**", "/root/*", "/root/*/b", "/root/**/c",
                                             "/root/[ab]/?"};
        return once(3) ? kGlobs[below(std::size(kGlobs))] : path();
    }

    Attribute numbers(std::size_t count) { return numbers(count, count); }
    Attribute numbers(std::size_t count, std::size_t tuple) {
        std::map<float, std::vector<double>> samples;
        for (const float time : once(4) ? std::vector<float>{0, 1, 2} : std::vector<float>{0})
            for (std::vector<double>& values = samples[time]; values.size() < count;)
                values.push_back(number());
        return DoubleAttribute(samples, static_cast<std::int64_t>(tuple));
    }
    GroupAttribute xform() {
        Children steps;
        if (once(2)) steps.emplace_back("translate", numbers(3));
        if (once(4)) steps.emplace_back("rotate", numbers(4));
        if (once(4)) steps.emplace_back("scale", numbers(3));
        if (once(40)) steps.emplace_back("origin", Int(1));
        return Group(steps);
    }
    GroupAttribute attrs() {
        static const char* const kTypes[] = {"group",  "polymesh",   "polymesh", "sphere",
                                             "curves", "pointcloud", "light",    "material"};
        Children attrs;
        if (!once(5)) attrs.emplace_back("type", Text(kTypes[below(std::size(kTypes))]));
        if (once(2)) attrs.emplace_back("xform", xform());
        if (once(3)) {
            std::map<float, std::vector<float>> samples;
            for (const float time : once(3) ? std::vector<float>{0, 2} : std::vector<float>{0})
                for (int i = 0; i < 6; ++i)
                    samples[time].push_back(static_cast<float>(number()));
            attrs.emplace_back("geometry",
                               Group({{"point", Group({{"P", FloatAttribute(samples, 3)}})}}));
        } else if (once(3)) {
            attrs.emplace_back("geometry", Group({{"radius", Doubles({2.5})}}));
        }
        if (once(6)) attrs.emplace_back("bound", Doubles({-1, 1, 0, 12, 0, 3}));
        if (once(4)) attrs.emplace_back("user", Int(static_cast<int>(below(3))));
        return Group(attrs);
    }
    GroupAttribute location(std::size_t levels) {
        Children children;
        for (const char* name : {"a", "b", "c"})
            if (levels > 0 && !once(3)) children.emplace_back(name, location(levels - 1));
        Children both{{"a", attrs()}};
        if (!children.empty()) both.emplace_back("c", Group(children));
        return Group(both);
    }

private:
    std::mt19937 engine;
};

std::string AnyOf(Dice& dice, const std::vector<std::string>& texts) {
    return texts[dice.below(texts.size())];
}

GroupAttribute ArrayArgs(Dice& dice) {
    std::string source = dice.path(), target = dice.path();
    while (OxLocationPath::IsSelfOrBelow(source, target) ||
           OxLocationPath::IsSelfOrBelow(target, source))
        target = "/root/" + dice.name() + "/" + dice.name() + "/" + dice.name() + "/d";
    Children args{{"source", StringAttribute(source)}, {"target", StringAttribute(target)}};
    if (dice.once(2)) {
        args.emplace_back("mode", Text("scatter"));
        args.emplace_back("count", Int(static_cast<int>(dice.below(6))));
        args.emplace_back("extent", Doubles({-5, 5, 0, 0, 10, 20}));
        args.emplace_back("spin", Int(static_cast<int>(dice.below(2))));
    } else {
        args.emplace_back("counts", IntAttribute({static_cast<int>(dice.below(4)), 2, 1}, 3));
        args.emplace_back("spacing", Doubles({3, -4, 5}));
    }
    args.emplace_back("groupSize", Int(2 + static_cast<int>(dice.below(4))));
    args.emplace_back("keepSource", Int(static_cast<int>(dice.below(2))));
    return Group(args);
}

GroupAttribute InstancesArgs(Dice& dice) {
    const std::string sources[] = {dice.path(), dice.path()};
    std::string target = dice.path();
    const auto isFree = [&] {
        for (const std::string& source : sources)
            if (OxLocationPath::IsSelfOrBelow(source, target) ||
                OxLocationPath::IsSelfOrBelow(target, source))
                return false;
        return true;
    };
    while (!isFree())
        target = "/root/" + dice.name() + "/" + dice.name() + "/" + dice.name() + "/" +
                 std::string(1, "dxyz"[dice.below(4)]);
    const auto count = dice.below(6);
    Children args{{"sources", StringAttribute({sources[0], sources[1]}, 1)},
                  {"target", StringAttribute(target)},
                  {"groupSize", Int(2 + static_cast<int>(dice.below(4)))},
                  {"keepSource", Int(static_cast<int>(dice.below(2)))}};
    if (dice.once(2)) {
        args.emplace_back("translates", dice.numbers(3 * count, 3));
        if (dice.once(2)) args.emplace_back("rotates", dice.numbers(4 * count, 4));
        if (dice.once(2)) args.emplace_back("scales", dice.numbers(3 * count, 3));
    } else {
        std::vector<double> matrices;
        for (std::size_t i = 0; i < 16 * count; ++i)
            matrices.push_back(i % 4 == 3 ? double(i % 16 == 15) : dice.number());
        args.emplace_back("matrices", DoubleAttribute(matrices, 16));
    }
    std::vector<std::int32_t> indices;
    while (indices.size() < count)
        indices.push_back(static_cast<int>(dice.below(2)));
    if (dice.once(2)) args.emplace_back("indices", IntAttribute(indices, 1));
    if (dice.once(3) && count > 0)
        args.emplace_back("hidden", Int(static_cast<int>(dice.below(count))));
    return Group(args);
}

/// Sources may show themselves, which is an error.
GroupAttribute ShareArgs(Dice& dice) {
    std::set<std::string> locations;
    for (std::size_t count = 1 + dice.below(3); count > 0; --count)
        locations.insert(dice.path() + (dice.once(2) ? "/d" : ""));
    std::vector<std::int32_t> indices;
    while (indices.size() < locations.size())
        indices.push_back(static_cast<int>(dice.below(2)));
    return Group({{"locations", StringAttribute(Names(locations.begin(), locations.end()), 1)},
                  {"sources", StringAttribute({dice.path(), dice.path()}, 1)},
                  {"indices", IntAttribute(indices, 1)},
                  {"keepSources", Int(static_cast<int>(dice.below(2)))}});
}

/// An Op with arguments that are drawn until they are accepted.
Op AddShare(Dice& dice, Graph& graph, const Op& input) {
    GroupAttribute args = ShareArgs(dice);
    while (CookErrorOf("Share", args) != "no error")
        args = ShareArgs(dice);
    return graph.add("Share", args, {input});
}

GroupAttribute EditArgs(Dice& dice) {
    Children args{{"paths", StringAttribute(dice.glob())}};
    if (dice.once(3))
        args.emplace_back(
            "delete",
            Text(AnyOf(dice, {"type", "geometry.point", "user", "xform", "bound"}).c_str()));
    Children set;
    if (dice.once(4))
        set.emplace_back("type", StringAttribute(AnyOf(dice, {"sphere", "group", "curves"})));
    if (dice.once(4)) set.emplace_back("geometry", Group({{"radius", Doubles({20})}}));
    if (dice.once(4)) set.emplace_back("xform", Group({{"translate", Doubles({30, 0, 0})}}));
    if (dice.once(2)) set.emplace_back("user", Int(9));
    if (!set.empty()) args.emplace_back("set", Group(set));
    return Group(args);
}

Op AddOp(Dice& dice, Graph& graph, const std::vector<Op>& inputs) {
    const Op input = dice.once(3) ? inputs[dice.below(inputs.size())] : inputs.back();
    const GroupAttribute noArgs(true);
    switch (dice.below(14)) {
    case 0: {
        Children args{{"paths", StringAttribute(dice.glob())},
                      {"order", StringAttribute(AnyOf(dice, {"before", "after"}))}};
        if (!dice.once(5)) args.emplace_back("translate", dice.numbers(3));
        if (dice.once(3)) args.emplace_back("rotate", dice.numbers(4));
        return graph.add("Transform", Group(args), {input});
    }
    case 1:
        return graph.add("AttributeEdit", EditArgs(dice), {input});
    case 2:
        return graph.add("MaterialAssign",
                         Group({{"paths", StringAttribute(dice.glob())},
                                {"material", StringAttribute(dice.path())}}),
                         {input});
    case 3:
        return graph.add(
            "Prune",
            Group({{"paths", StringAttribute(dice.path())}, {"keepNames", Int(dice.once(3))}}),
            {input});
    case 4:
        return graph.add(
            "Camera",
            Group({{"path", StringAttribute(dice.path())}, {"translate", Doubles({1, 2, 3})}}),
            {input});
    case 5:
        return graph.add("RenderSettings",
                         Group({{"settings", Group({{"resolution", Text("square_512")}})}}),
                         {input});
    case 6:
    case 7:
    case 8:
        return graph.add("Array", ArrayArgs(dice), {input});
    case 9:
    case 10:
        return graph.add("Instances", InstancesArgs(dice), {input});
    case 11:
    case 12:
        return AddShare(dice, graph, input);
    default:
        return graph.add(
            "Merge", noArgs,
            {input, inputs[dice.below(inputs.size())], inputs[dice.below(inputs.size())]});
    }
}

Op AddScene(Dice& dice, Graph& graph) {
    GroupAttribute scene = dice.location(3);
    if (dice.once(2)) return graph.add("StaticScene", scene);
    GroupBuilder args;
    args.update(scene);
    args.set("location", StringAttribute(dice.path()));
    return graph.add("StaticScene", args.build());
}

/// How often facts were told, and how often they could have been.
struct Tally {
    std::size_t asked = 0, types = 0, locations = 0, bounds = 0, instances = 0, shared = 0;
};

class DescribedGraph {
public:
    DescribedGraph(std::uint32_t seed, std::map<Hash, std::string>& signatures)
        : dice(seed), signatures(signatures) {
        for (std::size_t i = 2 + dice.below(2); i > 0; --i)
            ops.push_back(AddScene(dice, graph));
        for (std::size_t i = dice.below(6); i > 0; --i)
            ops.push_back(AddOp(dice, graph, ops));
    }

    /// Looks at every Op, so that their identities can be compared.
    void expectAgreement(Tally& tally) {
        for (const Op& op : ops) {
            SCOPED_TRACE(op->getType() + " " + std::to_string(op->getId()));
            expectAgreementOf(op, tally);
        }
    }

private:
    void expectAgreementOf(const Op& op, Tally& tally) {
        const Client client = graph.client(op);
        Walk walk(client);
        // Before anything is cooked.
        const SubtreeFacts root = OxOpType::DescribeSubtree(*client, "/root");
        ExpectAgreement(root, walk.at("/root"));
        const std::vector<std::string> paths = walk.at("/root").paths;
        for (const std::string& path : paths)
            expectAgreementAt(*client, path, walk, tally);
        for (int i = 0; i < 5; ++i)
            expectAgreementAt(*client, dice.path() + '/' + dice.name(), walk, tally);
    }

    void expectAgreementAt(TellarRuntime::Client& client, const std::string& path, Walk& walk,
                           Tally& tally) {
        SCOPED_TRACE(path);
        const SubtreeFacts facts = OxOpType::DescribeSubtree(client, path);
        const Found& found = walk.at(path);
        ExpectAgreement(facts, found);
        ++tally.asked;
        tally.types += facts.types.has_value();
        tally.locations += facts.locations.has_value();
        tally.bounds += facts.bound.has_value();
        if (facts.identity != Hash() && found.locations > 0) {
            const auto [known, isNew] = signatures.emplace(facts.identity, found.signature);
            EXPECT_EQ(known->second, found.signature);
            tally.shared += !isNew;
        }
        if (const auto instances = OxOpType::DescribeInstances(client, path)) {
            ++tally.instances;
            ExpectAllInstances(*instances, walk, path);
        }
    }

    Dice dice;
    Graph graph;
    std::vector<Op> ops;
    std::map<Hash, std::string>& signatures;
};

TEST(DescribedSubtrees, AgreeWithAWalkOfRandomGraphs) {
    Tally tally;
    std::map<Hash, std::string> signatures;
    constexpr std::uint32_t kGraphs = TellarTest::kSanitized ? 50 : 150;
    for (std::uint32_t seed = 0; seed < kGraphs && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        DescribedGraph(seed, signatures).expectAgreement(tally);
    }
    // Edits hide some bounds. All else is known of graphs as small as these.
    EXPECT_EQ(tally.types, tally.asked);
    EXPECT_EQ(tally.locations, tally.asked);
    EXPECT_GT(tally.bounds, tally.asked * 80 / 100);
    EXPECT_GT(tally.instances, kGraphs / 3);
    EXPECT_GT(tally.shared, kGraphs / 3);
}

} // namespace
