#include "OpRules.h"

#include <cstdint>
#include <string>

#include <OxTellarSDK/OpCheck.h>

#include "TextureRules.h"

namespace TELLAR {

namespace {

Rule RuleOf(OxOpType::WarningKind kind) {
    switch (kind) {
    case OxOpType::WarningKind::DeadGlob:
        return Rule::OpGlob;
    case OxOpType::WarningKind::DeadAssignment:
        return Rule::OpAssignment;
    case OxOpType::WarningKind::HiddenInput:
        return Rule::OpMerge;
    case OxOpType::WarningKind::MissingFile:
        return Rule::TextureMissing;
    case OxOpType::WarningKind::Other:
        break;
    }
    return Rule::OpWarning;
}

/// The zero hash unless the warning is about a missing file.
OxAttribute::Hash KeyOf(const OxOpType::Warning& warning) {
    if (warning.file.empty()) return {};
    return MissingFileKey(MissingFileProblem(warning.file));
}

} // namespace

void CheckOpTypes(const std::shared_ptr<TellarRuntime::Op>& op, Findings& findings) {
    std::int64_t number = 0;
    for (const OxOpType::Warning& warning : OxOpType::CheckOps(op)) {
        const OxAttribute::Hash key = KeyOf(warning);
        if (findings.has(Rule::TextureMissing, key)) continue;
        findings.add(RuleOf(warning.kind), {number++}, key, [&] {
            return FoundProblem{{}, {}, warning.opName, warning.opType, warning.text, warning.file};
        });
    }
}

} // namespace TELLAR
