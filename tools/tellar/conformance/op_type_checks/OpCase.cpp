#include "OpCase.h"

#include <algorithm>
#include <set>
#include <utility>

#include <OxTellarSDK/DescriptionJson.h>

#include "ProbeInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using Children = std::vector<GroupAttribute::Child>;

// The number N stands for the place of the scene among the inputs.
constexpr const char* kSmallScene = R"({"ops": [{"name": "small", "type": "StaticScene", "args": {
  "a": {"renderSettings": {"cameraName": "/root/world/cam", "samples": N}},
  "c": {"world": {"a": {"type": "group"}, "c": {
    "cam": {"a": {"type": "camera", "geometry": {"fov": 40.0},
            "xform": {"translate": [0.0, 1.0, 9.0]}}},
    "lamp": {"a": {"type": "light", "xform": {"translate": [0.0, 5.0, 0.0]},
             "light": {"intensity": 2.0}}},
    "geo": {"a": {"type": "group", "xform": {"translate": [1.0, 0.0, 0.0]}}, "c": {
      "square": {"a": {"type": "polymesh", "materialAssign": "/root/materials/red",
        "bound": [-1.0, 1.0, 0.0, 0.0, -1.0, 1.0],
        "xform": {"translate": {"$type": "double", "times": [0, 1],
                                "samples": [[0, 0, 0], [1, 0, 0]]}},
        "geometry": {
          "point.P": {"$type": "float",
                      "values": [[-1, 0, -1], [1, 0, -1], [1, 0, 1], [-1, 0, 1]]},
          "poly": {"vertexList": [0, 1, 2, 3], "startIndex": [0, 4]}}},
        "c": {"part": {"a": {"type": "faceset", "geometry.faces": [0]}}}},
      "ball": {"a": {"type": "sphere", "geometry.radius": 0.5}},
      "empty": {}}},
    "own_N": {"a": {"type": "group", "user": {"number": N}}}}},
   "materials": {"a": {"type": "group"}, "c": {
    "red": {"a": {"type": "material", "material": {"parameters": {"color": [1.0, 0.0, 0.0]}}}}}}}
 }}]})";

OpRow RowOf(const std::string& name, const GroupAttribute& entry) {
    OpRow row{name,
              StringAttribute(entry.getChildByName("opType")).getValue("", false),
              entry.getChildByName("opArgs"),
              {}};
    const StringAttribute inputs(entry.getChildByName("opInputs"));
    for (const std::string_view input : inputs.getNearestSample(0))
        row.inputs.emplace_back(input);
    return row;
}

std::vector<OpRow> RowsOf(const GroupAttribute& description) {
    std::vector<OpRow> rows;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        rows.push_back(RowOf(description.getChildName(i), description.getChildByIndex(i)));
    return rows;
}

/// The rows that the one at `index` depends on, which becomes the last one.
std::vector<OpRow> DependenciesOf(const std::vector<OpRow>& rows, std::size_t index) {
    std::set<std::string> needed;
    std::vector<const OpRow*> open{&rows[index]};
    while (!open.empty()) {
        const OpRow* const row = open.back();
        open.pop_back();
        for (const std::string& input : row->inputs)
            if (needed.insert(input).second)
                for (const OpRow& other : rows)
                    if (other.name == input) open.push_back(&other);
    }
    std::vector<OpRow> result;
    for (const OpRow& row : rows)
        if (&row != &rows[index] && needed.count(row.name) != 0) result.push_back(row);
    result.push_back(rows[index]);
    return result;
}

GroupAttribute SmallScene(std::size_t number) {
    std::string text = kSmallScene;
    for (std::size_t at = text.find('N'); at != std::string::npos; at = text.find('N', at))
        text.replace(at, 1, std::to_string(number + 1));
    const GroupAttribute description = ParseDescriptionJson(text, "small scene", "");
    return GroupAttribute(GroupAttribute(description.getChildByIndex(0)).getChildByName("opArgs"));
}

} // namespace

GroupAttribute OpCase::description() const {
    Children entries;
    for (const OpRow& row : rows) {
        Children parts{{"opType", StringAttribute(row.type)}};
        if (row.args.isValid()) parts.emplace_back("opArgs", row.args);
        if (!row.inputs.empty()) parts.emplace_back("opInputs", StringAttribute(row.inputs, 1));
        entries.emplace_back(row.name, GroupAttribute(parts, true));
    }
    return GroupAttribute(entries, true);
}

std::shared_ptr<TELLAR::Scene> OpCase::open() const {
    return TELLAR::Scene::FromDescription(description());
}

std::vector<OpCase> CasesIn(const GroupAttribute& description, const std::string& type) {
    const std::vector<OpRow> rows = RowsOf(description);
    std::set<std::pair<Hash, std::vector<std::string>>> seen;
    std::vector<OpCase> cases;
    for (std::size_t i = 0; i < rows.size(); ++i)
        if (rows[i].type == type && seen.emplace(rows[i].args.getHash(), rows[i].inputs).second)
            cases.push_back({"op \"" + rows[i].name + '"', DependenciesOf(rows, i)});
    return cases;
}

OpCase SmallCase(const std::string& name, const std::string& type, const GroupAttribute& args,
                 std::size_t inputs) {
    OpCase made{name, {}};
    OpRow op{"op under test", type, args, {}};
    for (std::size_t i = 0; i < inputs; ++i) {
        op.inputs.push_back("input" + std::to_string(i));
        made.rows.push_back({op.inputs.back(), "StaticScene", SmallScene(i), {}});
    }
    made.rows.push_back(op);
    return made;
}

OpCase WithProbes(const OpCase& original, const GroupAttribute& probeArgs) {
    OpCase made = original;
    const OpRow op = made.op();
    made.rows.pop_back();
    OpRow probed = op;
    for (std::size_t i = 0; i < op.inputs.size(); ++i) {
        probed.inputs[i] = "probe" + std::to_string(i);
        made.rows.push_back({probed.inputs[i], kProbeInput, probeArgs, {op.inputs[i]}});
    }
    made.rows.push_back(probed);
    return made;
}

} // namespace TellarTool
