#ifndef TELLAR_TOOL_OPCASE_H
#define TELLAR_TOOL_OPCASE_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TellarTool {

using ClientPtr = std::shared_ptr<TellarRuntime::Client>;

/// One op of an op tree.
struct OpRow {
    std::string name;
    std::string type;
    OxAttribute::GroupAttribute args; ///< invalid for an op without arguments
    std::vector<std::string> inputs;  ///< names of other ops; empty for a missing input
};

/// An op of the type under test, with all ops that it depends on.
struct OpCase {
    std::string name;        ///< as findings call it
    std::vector<OpRow> rows; ///< the op under test is the last one

    OpRow& op() { return rows.back(); }
    const OpRow& op() const { return rows.back(); }
    OxAttribute::GroupAttribute description() const;
    std::shared_ptr<TELLAR::Scene> open() const;
};

/// The ops of a type in an op-tree description, without those whose arguments and inputs are
/// written as those of an earlier one.
std::vector<OpCase> CasesIn(const OxAttribute::GroupAttribute& description,
                            const std::string& type);

/// An op of the type over `inputs` small scenes, which have one of everything.
OpCase SmallCase(const std::string& name, const std::string& type,
                 const OxAttribute::GroupAttribute& args, std::size_t inputs);

/// A case with every input of the op under test behind an op of the type ProbeInput, named
/// "probe0", "probe1" and so on.
OpCase WithProbes(const OpCase& original, const OxAttribute::GroupAttribute& probeArgs);

} // namespace TellarTool

#endif
