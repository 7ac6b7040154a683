#include "OpTypeUnderTest.h"

#include <algorithm>
#include <exception>
#include <fstream>
#include <random>

#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "ArgumentSamples.h"
#include "ProbeInput.h"

namespace TellarTool {

namespace {

constexpr std::size_t kMostTold = 4;
constexpr std::size_t kMostCases = 4;
constexpr int kMostDraws = 200;
constexpr std::size_t kMostLooked = 50;
constexpr std::size_t kLongestName = 120;

/// Writes a file that SceneImport reads, for arguments that name a file.
std::string SampleFile(const Subject& subject) {
    std::string file = subject.fileNamed("sample.obj");
    std::ofstream(file) << "o sample\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    return file;
}

std::size_t InputsOf(const OxOpType::Description& description) {
    if (!TakesInputs(description)) return 0;
    return description.inputs == "one" ? 1 : 2;
}

/// The error of /root and of the first locations below it if all of them have one; otherwise empty.
std::string CommonError(const OpCase& made) {
    const auto client = made.open()->getClient();
    std::string error;
    for (const std::string& path : PathsOf(*client, kMostLooked)) {
        const Answer answer = Cook(*client, path);
        if (!answer.isError()) return {};
        error = answer.error;
    }
    return error;
}

/// 'sample arguments {"radius": 2.0}', which can be copied into a scene unless it is long.
std::string NameOf(const OxAttribute::GroupAttribute& args) {
    std::string text = OxAttribute::WriteAttributeJson(args, -1);
    if (text.size() > kLongestName) text = text.substr(0, kLongestName) + " ...";
    return "sample arguments " + text;
}

std::vector<OpCase> SampleCases(const Subject& subject, const OxOpType::Description& description,
                                Verdict& verdict) {
    const std::string file = SampleFile(subject);
    std::mt19937 random(1); // the same samples each time
    std::vector<OpCase> cases;
    std::string error;
    for (int draw = 0; draw < kMostDraws && cases.size() < kMostCases; ++draw) {
        const auto args = SensibleArguments(description, file, random);
        const OpCase made = SmallCase(NameOf(args), subject.name, args, InputsOf(description));
        const bool isNew = std::none_of(cases.begin(), cases.end(), [&](const OpCase& other) {
            return other.op().args == args;
        });
        if (!isNew) continue;
        const std::string itsError = CommonError(made);
        if (itsError.empty())
            cases.push_back(made);
        else
            error = itsError;
    }
    if (cases.empty())
        verdict.note(
            "no sample arguments make sense; give --scene a scene with ops of this type (" + error +
            ')');
    return cases;
}

std::vector<OpCase> CasesOfUser(const Subject& subject, Verdict& verdict) {
    const TELLAR::SceneDescription read = TELLAR::ReadSceneDescription(subject.scene);
    std::vector<OpCase> cases = CasesIn(read.ops, subject.name);
    if (cases.empty()) verdict.note(subject.scene + " has no op of this type");
    if (cases.size() > kMostCases) cases.resize(kMostCases);
    for (const OpCase& each : cases)
        if (const std::string error = CommonError(each); !error.empty())
            verdict.note(each.name + " cannot be cooked: " + error);
    return cases;
}

} // namespace

FirstFaults::~FirstFaults() {
    if (number > kMostTold)
        verdict.note("and " + std::to_string(number - kMostTold) + " more faults");
}

void FirstFaults::add(const std::string& fault) {
    if (++number <= kMostTold) verdict.fault(fault);
}

bool TakesInputs(const OxOpType::Description& description) {
    return description.inputs != "none";
}

const OxOpType::Description* DescriptionOf(const Subject& subject, Verdict& verdict) {
    const OxOpType::Description* const description = OxOpType::FindDescription(subject.name);
    if (!description) verdict.skip("the op type cannot be loaded");
    return description;
}

std::vector<OpCase> UsableCases(const Subject& subject, Verdict& verdict) {
    const OxOpType::Description* const description = DescriptionOf(subject, verdict);
    if (!description) return {};
    RegisterProbeInput();
    std::vector<OpCase> cases;
    if (!subject.scene.empty()) cases = CasesOfUser(subject, verdict);
    return cases.empty() ? SampleCases(subject, *description, verdict) : cases;
}

} // namespace TellarTool
