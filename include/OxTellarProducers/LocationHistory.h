#ifndef OXTELLARPRODUCERS_LOCATIONHISTORY_H
#define OXTELLARPRODUCERS_LOCATIONHISTORY_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/SceneDifference.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Tells where a location or an attribute comes from: what each Op on the way from the sources to
/// the last one did to it. For a location that is not there it tells which Op dropped it.
///
/// Nothing is known of op types. The Ops cook the location once more, and what they read is
/// compared with what they made.

namespace TELLAR {

/// The action of an Op on the subject of a history: a location, one of its attributes, or the place
/// of a name among its potential children.
enum class HistoryAction {
    Made,    ///< the location comes from this Op, and the subject with it
    Passed,  ///< the subject is as the input at the same location has it
    Copied,  ///< the subject comes from another location of an input; see HistoryStep::reads
    Set,     ///< the location was there before, and the attribute was not
    Changed, ///< the subject was there before, with another value
    Deleted, ///< the attribute was there before; the location is still there
    Pruned,  ///< the location was there before, and is not any more
    Absent,  ///< the location was not there before, and still is not
    Failed   ///< the location cannot be cooked
};

/// The use that an Op made of a location of one of its inputs.
enum class HistoryRole {
    Origin,      ///< the subject before the Op changed it; a step has one at most
    Contributed, ///< further values
    Overridden   ///< nothing: the input has the attribute too, but another value has won
};

/// A location of an input that an Op has read for the subject.
struct HistoryRead {
    std::size_t step = 0;  ///< the earlier step that made what was read
    std::size_t input = 0; ///< index among the inputs of the Op
    HistoryRole role = HistoryRole::Origin;
};

/// A difference between an attribute before and after an Op. Groups that were there before and
/// after are taken apart, so the attribute may lie in one of them. A group that was copied as a
/// whole is not; its values are then not compared.
struct HistoryChange : ValueDifference {
    /// The location of an input that has the value `after`, where the Op therefore took it from;
    /// empty when the Op made the value itself.
    std::string copiedFrom;
    std::size_t copiedInput = 0; ///< index among the inputs of the Op, if it was copied
};

/// The action of one Op at one location.
struct HistoryStep {
    std::shared_ptr<TellarRuntime::Op> op;
    std::string location; ///< other than the subject's where that was copied from elsewhere
    HistoryAction action = HistoryAction::Absent;
    /// The value of the attribute, before and after the Op. Invalid where there is none, and in the
    /// history of a location.
    OxAttribute::Attribute before;
    OxAttribute::Attribute after;
    /// The changes by the Op: of the attribute, or of all attributes in the history of a location.
    /// For a location that it made, its attributes.
    std::vector<HistoryChange> changes;
    /// Names of potential children, in the history of a location. Invalid if there are none.
    OxAttribute::StringAttribute addedChildren;
    OxAttribute::StringAttribute removedChildren;
    bool areChildrenReordered = false; ///< those that were there before and are still there
    std::vector<HistoryRead> reads;    ///< the origin first, then by input
    ErrorFacts error;                  ///< of a step that failed; otherwise empty
};

/// How the question ends.
enum class HistoryOutcome {
    Found,     ///< the location, or its own attribute, is there
    Inherited, ///< an ancestor has the attribute, and the location inherits it
    Dropped,   ///< it was there on the way, and an Op removed it
    NeverMade, ///< no Op makes it
    Unnamed,   ///< the location can be cooked, but is no potential child, so that no walk finds it
    Failed     ///< a location on the path cannot be cooked
};

/// A location with a value for an attribute that locations below it may inherit.
struct HistoryAncestor {
    std::string location;
    OxAttribute::Attribute value; ///< its own
    /// False when nearer values hide this one.
    bool isSeen = false;
};

/// The answer of GetLocationHistory.
struct LocationHistory {
    std::string location;  ///< as asked
    std::string attribute; ///< as asked; empty for the location itself
    HistoryOutcome outcome = HistoryOutcome::NeverMade;
    /// Whether the location is there, and a walk finds it. The steps are about the attribute, if
    /// one is asked for, only then.
    bool doesLocationExist = false;
    /// The location that `steps` are about: the one asked for; the ancestor from which the
    /// attribute is inherited; the first one on the path that is missing, cannot be cooked, or is
    /// no potential child. In the last case `steps` tell the history of its name among the children
    /// of its parent.
    std::string subject;
    /// The attribute as the location has or inherits it; otherwise invalid.
    OxAttribute::Attribute value;
    /// The location and its ancestors, as far as they have the attribute, nearest first.
    std::vector<HistoryAncestor> ancestors;
    /// The Op that deleted the location's own value of an attribute that it inherits now; usually
    /// null.
    std::shared_ptr<TellarRuntime::Op> ownDeletedBy;
    /// The steps from the sources to the last Op. A step comes after those that it reads. Empty for
    /// what was never made, except for an attribute of a location that is there.
    std::vector<HistoryStep> steps;
    /// The index of the step that made the subject what it is: the last one that did more than pass
    /// it. Nothing for what was never made.
    std::optional<std::size_t> decidedBy;
    /// Only for a location that was dropped: whether the location asked for was there too, if
    /// `subject` is an ancestor of it.
    bool wasThereBefore = false;
    /// Paths or dotted names that are similar to a missing one, the most similar first.
    std::vector<std::string> similar;
    /// The potential children of the parent of `subject`, if that is missing; otherwise invalid.
    OxAttribute::StringAttribute siblings;
    /// The number of Ops that the last one depends on, itself included.
    std::size_t numberOfOps = 0;
};

/// Tells the history of a location, or of an attribute by its dotted name. The location is
/// absolute.
///
/// Each Op is asked once for each location that matters, so the time is proportional to the number
/// of Ops on the way, however often their results are shared. Errors of cooks are part of the
/// answer.
///
/// Throws std::invalid_argument for a null client, and for a location that is not absolute, has an
/// empty level or ends with a slash. Values that lie in a damaged file throw std::runtime_error.
///
/// Threads: may be called from any number of threads at once, while no thread takes the client's
/// results.
TELLAR_API LocationHistory GetLocationHistory(const std::shared_ptr<TellarRuntime::Client>& client,
                                              const std::string& location,
                                              const std::string& attribute = {});

/// Paths of existing locations that somebody may have meant who wrote a path that leads to none,
/// the most similar first. `root` is the location /root; null gives nothing.
TELLAR_API std::vector<std::string> SimilarLocations(const GeometryProducer::Ptr& root,
                                                     const std::string& path);

} // namespace TELLAR

#endif
