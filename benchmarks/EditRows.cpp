// One transform edited in a scene that has been walked: the commit with its change list, and
// reading the location that changed.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarSDK/Attribute.h>

#include "Measure.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

using TELLAR::SceneChange;
using TELLAR::SceneChanges;
using TELLAR::SceneEdit;

constexpr int kEdits = 51;
constexpr const char* kEditedOp = "bench move";

/// The scene with a Transform of one leaf on top.
std::shared_ptr<TELLAR::Scene> OpenEditedScene(const std::string& leaf) {
    const auto scene = TELLAR::Scene::Open(GetScenePath(GetOptions().leaves));
    const GroupAttribute ops = scene->getDescription();
    SceneEdit edit = scene->edit();
    edit.addOp(kEditedOp, "Transform",
               GroupAttribute({{"paths", StringAttribute(leaf)},
                               {"translate", DoubleAttribute({-1.0, 0.0, 0.0}, 3)}},
                              true),
               {ops.getChildName(ops.getNumberOfChildren() - 1)});
    edit.setTerminal(kEditedOp);
    static_cast<void>(edit.commit());
    return scene;
}

Checksum SumOf(const std::string& path, double translation) {
    LocationSum location;
    location.addText(path);
    location.add(translation);
    Checksum sum;
    sum.add(location);
    return sum;
}

double ReadTranslation(TELLAR::Scene& scene, const std::string& path) {
    const Producer leaf = scene.getRoot()->getProducerByPath(path);
    return DoubleAttribute(leaf->getAttribute("xform.edit0.translate")).getValue();
}

double GetMedian(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void MeasureEdits(Row& row) {
    const Stopwatch watch;
    const std::string leaf = GetLeafPath(GetOptions().leaves / 2);
    const auto scene = OpenEditedScene(leaf);
    WalkNames(scene->getRoot().get());

    std::vector<double> commits;
    std::vector<double> reads;
    Checksum sum;
    Checksum expected;
    for (int i = 0; i < kEdits; ++i) {
        const double translation = i;
        SceneEdit edit = scene->edit();
        edit.setOpArg(kEditedOp, "translate", DoubleAttribute({translation, 0.0, 0.0}, 3));
        const Stopwatch commit;
        const SceneChanges changes = edit.commit();
        commits.push_back(commit.seconds());
        const Stopwatch read;
        for (const SceneChange& change : changes)
            sum.add(SumOf(change.path, ReadTranslation(*scene, change.path)));
        reads.push_back(read.seconds());
        expected.add(SumOf(leaf, translation));
    }
    row.verify(sum, expected);
    row.report("commit_us", GetMedian(commits) * 1e6);
    row.report("read_us", GetMedian(reads) * 1e6);
    row.finish(watch.seconds());
}

} // namespace

void AddEditRows() {
    AddRow("edit", 1, MeasureEdits);
}

} // namespace TellarBench
