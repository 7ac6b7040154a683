// One edit in a scene that has been walked, of a transform or of a value in the scene's
// description: the commit with its change list, and reading the location that changed.

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

/// An argument of an op, and the attribute of a leaf that follows it.
struct Edited {
    std::string op;
    std::string argument;
    std::string leaf;
    std::string attribute;
};

std::string GetLastOp(const TELLAR::Scene& scene) {
    const GroupAttribute ops = scene.getDescription();
    return ops.getChildName(ops.getNumberOfChildren() - 1);
}

/// A Transform of one leaf on top of the scene.
Edited AddTransform(TELLAR::Scene& scene, const std::string& leaf) {
    SceneEdit edit = scene.edit();
    edit.addOp(kEditedOp, "Transform",
               GroupAttribute({{"paths", StringAttribute(leaf)},
                               {"translate", DoubleAttribute({-1.0, 0.0, 0.0}, 3)}},
                              true),
               {GetLastOp(scene)});
    edit.setTerminal(kEditedOp);
    static_cast<void>(edit.commit());
    return {kEditedOp, "translate", leaf, "xform.edit0.translate"};
}

/// A value of one leaf in the description, which is in the scene's file.
Edited FindInDescription(TELLAR::Scene& scene, const std::string& leaf) {
    std::string argument;
    for (const char character : leaf.substr(std::string("/root/").size()))
        argument += character == '/' ? std::string(".c.") : std::string(1, character);
    return {GetLastOp(scene), "c." + argument + ".a.user.edited", leaf, "user.edited"};
}

Checksum SumOf(const std::string& path, double value) {
    LocationSum location;
    location.addText(path);
    location.add(value);
    Checksum sum;
    sum.add(location);
    return sum;
}

double ReadValue(TELLAR::Scene& scene, const std::string& path, const std::string& attribute) {
    const Producer leaf = scene.getRoot()->getProducerByPath(path);
    return DoubleAttribute(leaf->getAttribute(attribute.c_str())).getValue();
}

double GetMedian(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void MeasureEdits(Row& row, Edited (*prepare)(TELLAR::Scene&, const std::string&)) {
    const Stopwatch watch;
    const auto scene = TELLAR::Scene::Open(GetScenePath(GetOptions().leaves));
    const Edited edited = prepare(*scene, GetLeafPath(GetOptions().leaves / 2));
    WalkNames(scene->getRoot().get());

    std::vector<double> commits;
    std::vector<double> reads;
    Checksum sum;
    Checksum expected;
    for (int i = 0; i < kEdits; ++i) {
        const double value = i;
        SceneEdit edit = scene->edit();
        edit.setOpArg(edited.op, edited.argument, DoubleAttribute({value, 0.0, 0.0}, 3));
        const Stopwatch commit;
        const SceneChanges changes = edit.commit();
        commits.push_back(commit.seconds());
        const Stopwatch read;
        for (const SceneChange& change : changes)
            sum.add(SumOf(change.path, ReadValue(*scene, change.path, edited.attribute)));
        reads.push_back(read.seconds());
        expected.add(SumOf(edited.leaf, value));
    }
    row.verify(sum, expected);
    row.report("commit_us", GetMedian(commits) * 1e6);
    row.report("read_us", GetMedian(reads) * 1e6);
    row.finish(watch.seconds());
}

} // namespace

void AddEditRows() {
    AddRow("edit", 1, [](Row& row) { MeasureEdits(row, AddTransform); });
    AddRow("edit_description", 1, [](Row& row) { MeasureEdits(row, FindInDescription); });
}

} // namespace TellarBench
