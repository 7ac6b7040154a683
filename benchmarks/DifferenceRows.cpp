// The differences between two scenes, one of which has one edit, compared with a first walk over
// one of them: of two op files, and of two graphs that share their ops.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SceneDifference.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarSDK/Attribute.h>

#include "Measure.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

using TELLAR::LocationDifference;
using TELLAR::Scene;

constexpr int kPasses = 3;
constexpr const char* kEditedOp = "bench move";

Checksum SumOf(const std::string& path, std::size_t values) {
    LocationSum location;
    location.addText(path);
    location.add(values);
    Checksum sum;
    sum.add(location);
    return sum;
}

/// The seconds that it takes to find the differences. Throws unless the edit is the only one.
double TimeDifferences(const Row& row, const Scene& before, const Scene& after) {
    Checksum found;
    const Stopwatch watch;
    TELLAR::VisitDifferences(before.getClient(), after.getClient(), {},
                             [&found](const LocationDifference& difference) {
                                 found.add(SumOf(difference.path, difference.values.size()));
                                 return true;
                             });
    const double seconds = watch.seconds();
    row.verify(found, SumOf(GetLeafPath(GetOptions().leaves / 2), 1));
    return seconds;
}

/// From the names of two op files to their differences.
double TimeFiles(const Row& row) {
    const Stopwatch watch;
    const auto before = Scene::Open(GetScenePath(GetOptions().leaves));
    const auto after = Scene::Open(GetEditedScenePath(GetOptions().leaves));
    TimeDifferences(row, *before, *after);
    return watch.seconds();
}

/// The scene, and the same scene with a Transform of one leaf on top.
double TimeShared(const Row& row) {
    const auto before = Scene::Open(GetScenePath(GetOptions().leaves));
    const auto after = Scene::FromDescription(before->getDescription());
    const GroupAttribute ops = after->getDescription();
    TELLAR::SceneEdit edit = after->edit();
    edit.addOp(kEditedOp, "Transform",
               GroupAttribute({{"paths", StringAttribute(GetLeafPath(GetOptions().leaves / 2))},
                               {"translate", DoubleAttribute({1.0, 0.0, 0.0}, 3)}},
                              true),
               {ops.getChildName(ops.getNumberOfChildren() - 1)});
    edit.setTerminal(kEditedOp);
    static_cast<void>(edit.commit());
    return TimeDifferences(row, *before, *after);
}

double TimeFirstWalk(const Row&) {
    const auto scene = Scene::Open(GetScenePath(GetOptions().leaves));
    const Stopwatch watch;
    WalkNames(scene->getRoot().get());
    return watch.seconds();
}

/// Each time in a process that has cooked nothing.
double Median(const Row& row, double (*measure)(const Row&)) {
    std::vector<double> seconds;
    seconds.reserve(kPasses);
    for (int pass = 0; pass < kPasses; ++pass)
        seconds.push_back(
            MeasureInChild([&]() -> std::vector<double> { return {measure(row)}; }).at(0));
    std::sort(seconds.begin(), seconds.end());
    return seconds[seconds.size() / 2];
}

void CompareWithWalk(Row& row, double (*measure)(const Row&)) {
    const double walk = Median(row, TimeFirstWalk);
    const double difference = Median(row, measure);
    row.report("ms", difference * 1e3);
    row.report("walks", difference / walk);
    row.finish(difference);
}

} // namespace

void AddDifferenceRows() {
    AddRow("difference_files", 1, [](Row& row) { CompareWithWalk(row, TimeFiles); });
    AddRow("difference_shared", 1, [](Row& row) { CompareWithWalk(row, TimeShared); });
}

} // namespace TellarBench
