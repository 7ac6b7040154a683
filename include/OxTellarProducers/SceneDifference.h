#ifndef OXTELLARPRODUCERS_SCENEDIFFERENCE_H
#define OXTELLARPRODUCERS_SCENEDIFFERENCE_H

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// An attribute that differs between two scenes at one location. A value: copy it freely.
struct ValueDifference {
    /// The first of these that applies.
    enum Kind {
        Added,        ///< only the new scene has it
        Removed,      ///< only the old scene has it
        Type,         ///< the values are of different types
        Size,         ///< the number of values or the size of tuples differs
        Times,        ///< the times of the samples differ
        Values,       ///< the values differ, and nothing else
        Inheritance,  ///< of a group: only one of the two inherits from the parent location
        OrderOfGroup, ///< of a group: children that both have are in another order
    };

    /// The dotted name: "geometry.point.P". Empty for the group of all attributes.
    std::string attribute;
    Kind kind = Values;
    /// The values in the old and the new scene; invalid where there is none.
    OxAttribute::Attribute before;
    OxAttribute::Attribute after;
    /// How many values were compared, over all time samples, and how many of them differ. Both are
    /// 0 unless types, sizes and numbers of time samples are the same.
    std::int64_t compared = 0;
    std::int64_t differing = 0;
    /// The largest difference between two numbers: infinity where only one of them is no number or
    /// is infinite. 0 for texts.
    double largest = 0;
};

/// A location that differs between two scenes. A value: copy it freely.
struct LocationDifference {
    enum Kind {
        Removed, ///< the location and all below it are gone
        Added,   ///< the location is new with all below it
        Changed, ///< the location is in both scenes and differs itself
        Failed   ///< it cannot be cooked or read in one of the scenes or in both
    };

    Kind kind = Changed;
    std::string path;
    /// For Changed: the attributes that differ, those of the new scene first, in its order. A group
    /// is listed as the values in it.
    std::vector<ValueDifference> values;
    /// True for Changed if children that both scenes have are in another order.
    bool isReordered = false;
    /// For Removed and Added: the number of locations below that exist.
    std::int64_t below = 0;
    /// The errors of Failed. The location may exist in only one of the scenes. The locations below
    /// it are not known.
    std::exception_ptr oldError;
    std::exception_ptr newError;
};

/// Returns false to end the search.
using DifferenceVisitor = std::function<bool(const LocationDifference&)>;

struct DifferenceOptions {
    /// Only this location and those below it are compared.
    std::string location = "/root";
    /// Numbers that differ by no more than this are equal; an absolute value, for numbers of all
    /// types. With 0, numbers are compared bit by bit, so that 0 and -0 differ. Otherwise all
    /// values that are no numbers are equal.
    double tolerance = 0;
    /// Glob patterns of the dotted names of attributes, such as "xform" or "geometry.**.P". "*" and
    /// "?" match within one level, "**" any number of levels, and a pattern that matches a group
    /// stands for all in it. Where there are any, only matching attributes of locations in both
    /// scenes are compared, and the order of children is not.
    std::vector<std::string> attributes;
    /// Asked at every location that is looked at; true ends the search. May be empty.
    std::function<bool()> isCancelled;
};

/// How many differences were found.
struct DifferenceSummary {
    std::uint64_t removed = 0;
    std::uint64_t added = 0;
    std::uint64_t changed = 0;
    std::uint64_t failed = 0;
    /// The locations that were looked at to find them.
    std::uint64_t visited = 0;
    VisitEnd end = VisitEnd::Done;

    /// False when differences or errors were found.
    bool areEqual() const { return removed + added + changed + failed == 0; }
};

/// Finds the differences between two scenes, one after the other: parents before their children,
/// and among siblings first those that are removed. Nothing is kept of them, so scenes may differ
/// in any number of places. A null client has no locations.
///
/// Below a location that is removed or added, only locations that cannot be cooked are told of, and
/// only where their number is not known without cooking (OxTellarSDK/SubtreeFacts.h). A location
/// that fails is the end of its subtree alone.
///
/// Cooks only where the graphs of Ops let a difference show, as CompareScenes does, and leaves out
/// subtrees that the Ops of both scenes tell to be equal.
///
/// Throws std::invalid_argument for a tolerance that is negative or no number, std::runtime_error
/// naming an attribute pattern that is not sound, and what `visitor` and `isCancelled` throw.
///
/// Threads: may be called from any number of threads at once, also with the same clients. Calls the
/// visitor on the calling thread.
TELLAR_API DifferenceSummary
VisitDifferences(const std::shared_ptr<TellarRuntime::Client>& oldClient,
                 const std::shared_ptr<TellarRuntime::Client>& newClient,
                 const DifferenceOptions& options, const DifferenceVisitor& visitor);

} // namespace TELLAR

#endif
