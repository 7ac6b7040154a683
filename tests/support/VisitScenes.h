#ifndef TELLAR_TEST_VISITSCENES_H
#define TELLAR_TEST_VISITSCENES_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/VisitLocations.h>

#include "SceneBuilders.h"
#include "TestOps.h"

/// Trees drawn at random, and lines of text for the locations that visits find.
namespace TellarTest {

using Lines = std::vector<std::string>;

/// A number between 0 and 1 that depends on all of the arguments.
inline double Draw(int seed, const std::string& path, const char* purpose) {
    const std::size_t hash = std::hash<std::string>()(path + purpose + std::to_string(seed));
    return static_cast<double>(hash % 9973) / 9973;
}

/// The op type TestRandomTree: each location has up to "width" potential children down to "depth"
/// levels below the root. A tenth of them do not exist, and another tenth cannot be cooked.
inline void CookRandomTree(OxOpType::CookContext& context) {
    const int seed = IntOf(TestArg(context, "seed"));
    const std::string path(context.path());
    const auto depth = static_cast<int>(std::count(path.begin(), path.end(), '/')) - 1;
    const double fate = depth == 0 ? 1 : Draw(seed, path, "fate");
    if (fate < 0.1) return;
    if (fate < 0.2) throw std::runtime_error("It fails at random.");
    context.setAttrs(Group({{"n", Int(seed)}}));
    if (depth >= IntOf(TestArg(context, "depth"))) return;
    const int width = IntOf(TestArg(context, "width"));
    std::vector<std::string> names(
        static_cast<std::size_t>(Draw(seed, path, "width") * (width + 1)));
    for (std::size_t i = 0; i < names.size(); ++i)
        names[i] = std::to_string(i);
    context.setPotentialChildren(Texts(names));
}

/// The op type TestChain: each location has one child, down to "depth" levels below the root.
inline void CookChain(OxOpType::CookContext& context) {
    const std::string path(context.path());
    const auto depth = static_cast<int>(std::count(path.begin(), path.end(), '/')) - 1;
    context.setAttrs(Group({}));
    if (depth < IntOf(TestArg(context, "depth"))) context.setPotentialChildren(Texts({"a"}));
}

inline const bool visitOpsAreRegistered = [] {
    OxOpType::RegisterOpType(new TestOp("TestRandomTree", CookRandomTree));
    OxOpType::RegisterOpType(new TestOp("TestChain", CookChain));
    return true;
}();

struct RandomTree {
    int seed;
    int depth;
    int width;
};

inline OxAttribute::GroupAttribute OpsOf(const RandomTree& tree) {
    return Group({{"tree", OpEntry("TestRandomTree", Group({{"seed", Int(tree.seed)},
                                                            {"depth", Int(tree.depth)},
                                                            {"width", Int(tree.width)},
                                                            {"tag", Text(UniqueTag())}}))}});
}

inline TELLAR::GeometryProducer::Ptr Open(const OxAttribute::GroupAttribute& ops) {
    return TELLAR::CreateSyncGeometryProducer(MakeClient(ops), "/root");
}

/// The end of the line of a location that cannot be cooked.
constexpr const char* kFailedMark = " fails";

/// The paths of the location and of all below it in the order of the tree, found by the client
/// alone.
inline Lines LinesBelow(TellarRuntime::Client& client, const std::string& path) {
    TellarRuntime::LocationData data;
    try {
        data = client.cookLocation(path);
    } catch (const std::runtime_error&) {
        return {path + kFailedMark};
    }
    if (!data.doesLocationExist()) return {};
    Lines lines{path};
    for (const std::string_view name : data.getPotentialChildren().getNearestSample(0.0f)) {
        const Lines below = LinesBelow(client, path + "/" + std::string(name));
        lines.insert(lines.end(), below.begin(), below.end());
    }
    return lines;
}

inline Lines LinesOf(const OxAttribute::GroupAttribute& ops) {
    return LinesBelow(*MakeClient(ops), "/root");
}

/// The lines of a tree, found once.
inline const Lines& LinesOf(const RandomTree& tree) {
    static std::map<std::array<int, 3>, Lines> known;
    Lines& lines = known[{tree.seed, tree.depth, tree.width}];
    if (lines.empty()) lines = LinesOf(OpsOf(tree));
    return lines;
}

inline std::string LineOf(const TELLAR::VisitedLocation& visited) {
    return visited.getPath() + (visited.error ? kFailedMark : "");
}

/// Whether the location of one line is below that of the other.
inline bool IsBelow(const std::string& line, const std::string& above) {
    return line.size() > above.size() && line.compare(0, above.size(), above) == 0 &&
           line[above.size()] == '/';
}

/// The lines without those below one of them.
inline Lines Without(const Lines& lines, const std::string& above) {
    Lines left;
    for (const std::string& line : lines)
        if (!IsBelow(line, above)) left.push_back(line);
    return left;
}

/// Lines that several threads add.
class SharedLines {
public:
    void add(std::string line) {
        const std::lock_guard<std::mutex> guard(lock);
        lines.push_back(std::move(line));
    }
    Lines get() {
        const std::lock_guard<std::mutex> guard(lock);
        return lines;
    }
    Lines sorted() {
        Lines copy = get();
        std::sort(copy.begin(), copy.end());
        return copy;
    }

private:
    std::mutex lock;
    Lines lines;
};

inline Lines Sorted(Lines lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
}

struct VisitMode {
    const char* name;
    bool isOrdered;
    int threads;

    TELLAR::VisitOptions options() const { return {threads, isOrdered, nullptr}; }
    /// Whether calls come in the order of the tree.
    bool keepsOrder() const { return isOrdered || threads == 1; }
};

constexpr VisitMode kVisitModes[] = {{"Alone", false, 1}, {"AloneInOrder", true, 1},
                                     {"Two", false, 2},   {"TwoInOrder", true, 2},
                                     {"Eight", false, 8}, {"EightInOrder", true, 8}};

/// Tests that hold for every way to visit.
class AnyVisit : public testing::TestWithParam<VisitMode> {
protected:
    static TELLAR::VisitOptions options() { return GetParam().options(); }
    /// Checks the lines of a visit, and their order if the visit keeps it.
    static void expectLines(const Lines& visited, const Lines& expected) {
        if (GetParam().keepsOrder())
            EXPECT_TRUE(visited == expected);
        else
            EXPECT_TRUE(Sorted(visited) == Sorted(expected));
    }
};

/// Names the mode in messages of failed tests.
inline void PrintTo(const VisitMode& mode, std::ostream* out) {
    *out << mode.name;
}

inline std::string NameOfMode(const testing::TestParamInfo<VisitMode>& mode) {
    return mode.param.name;
}

} // namespace TellarTest

#endif
