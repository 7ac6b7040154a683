#ifndef OXTELLARSDK_OPCHECK_H
#define OXTELLARSDK_OPCHECK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Finds probable mistakes in an op graph that are not errors: a pattern that matches nothing, a
/// texture that does not exist, imports that hide each other.

namespace OxOpType {

/// The subject of a warning, for programs that treat kinds of warnings differently.
enum class WarningKind {
    Other,
    DeadGlob,       ///< a path or pattern matches no location
    DeadAssignment, ///< what is assigned does not exist
    MissingFile,    ///< a file does not exist
    HiddenInput     ///< an input has no effect, or is mixed with another one
};

/// The check of one Op. Valid only during the call of OpType::check, and only in that thread.
class OXTELLARSDK_API CheckContext {
public:
    virtual const OxAttribute::GroupAttribute& args() const = 0;
    /// The return value of prepare for this Op, which may be null.
    virtual const State* state() const = 0;

    /// The number of inputs, including null inputs.
    virtual std::size_t numberOfInputs() const = 0;
    /// Null for a null input, and for an index out of range.
    virtual const TellarRuntime::Op* inputOp(std::size_t index) const = 0;

    /// Cooks a location of an input. It does not exist for a null input or an index out of range.
    /// Throws an exception, which has to pass through OpType::check, when the check exceeds the
    /// number of locations that the caller of CheckOps allows.
    virtual TellarRuntime::LocationData input(std::size_t index, const std::string& path) = 0;
    /// Cooks a location of the Op that CheckOps was called with, under the same limit.
    virtual TellarRuntime::LocationData scene(const std::string& path) = 0;

    /// Counts a location in the Op's own arguments towards the same limit.
    virtual void countLocation() = 0;

    /// Adds a warning. `file` is the path of a missing file, if the warning is about one.
    virtual void warn(const std::string& text, const std::string& file = {}) = 0;
    /// Adds a warning of a kind that concerns no file.
    virtual void warnOf(WarningKind kind, const std::string& text) = 0;

protected:
    ~CheckContext() = default;
};

/// A warning that OpType::check gave about an Op.
struct Warning {
    std::string opName;
    std::string opType;
    std::string text;
    std::string file; ///< the path of a missing file; usually empty
    WarningKind kind = WarningKind::Other;
    std::string opPlace; ///< TellarRuntime::Op::getPlace
};

/// Calls OpType::check for a committed Op and every Op that it depends on, inputs first. A check
/// that would cook more than `mostLocations` locations ends there. An Op that cannot be checked
/// because it or one of its inputs fails is skipped; cooking it reports the error.
OXTELLARSDK_API std::vector<Warning> CheckOps(const std::shared_ptr<TellarRuntime::Op>& op,
                                              std::uint64_t mostLocations = UINT64_MAX);

} // namespace OxOpType

#endif
