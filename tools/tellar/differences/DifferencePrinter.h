#ifndef TELLAR_TOOL_DIFFERENCEPRINTER_H
#define TELLAR_TOOL_DIFFERENCEPRINTER_H

#include <memory>
#include <string>

#include <OxTellarProducers/SceneDifference.h>

namespace TellarTool {

/// Writes the differences between two scenes as text, one after the other. For one thread.
class DifferencePrinter {
public:
    virtual ~DifferencePrinter();

    /// The text in front of all differences.
    virtual std::string begin() const = 0;
    virtual std::string next(const TELLAR::LocationDifference& difference) = 0;
    /// The text behind all of them.
    virtual std::string end(const TELLAR::DifferenceSummary& summary) const = 0;
};

/// The names of the scenes, for people.
struct ScenePair {
    std::string before;
    std::string after;
};

/// A line for each location, with a line for each of its values below it.
std::unique_ptr<DifferencePrinter> MakeDifferenceText(ScenePair scenes);
/// One JSON object.
std::unique_ptr<DifferencePrinter> MakeDifferenceJson(ScenePair scenes);

} // namespace TellarTool

#endif
