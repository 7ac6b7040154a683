#ifndef OXTELLARPRODUCERS_LOCATIONDIFFERENCES_H
#define OXTELLARPRODUCERS_LOCATIONDIFFERENCES_H

#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/CookTrace.h>

namespace TELLAR {

/// The existing locations that an Op has read, each once.
using CookReads = std::vector<const OxOpType::CookRead*>;

/// True when the read has the value at this dotted name, so that the Op may have taken it from
/// there. At the location that is cooked, `isSameLocation`, equal content counts. Elsewhere only
/// the same value in memory does, because locations often have equal values by chance.
bool HasValue(const OxOpType::CookRead& read, const std::string& name,
              const OxAttribute::Attribute& value, bool isSameLocation);

/// Finds what an Op changed.
class DifferenceFinder {
public:
    /// Values may have been copied from `sources`. All arguments must outlive the object.
    DifferenceFinder(const std::string& location, const CookReads& sources)
        : location(location), sources(sources) {}

    /// The differences of two values of an attribute. Invalid values stand for none. Groups that
    /// are on both sides are taken apart.
    std::vector<HistoryChange> compare(const std::string& name,
                                       const OxAttribute::Attribute& before,
                                       const OxAttribute::Attribute& after) const;
    /// The differences of all attributes of a location.
    std::vector<HistoryChange> compareAll(const OxAttribute::GroupAttribute& before,
                                          const OxAttribute::GroupAttribute& after) const;

private:
    void add(const std::string& name, const OxAttribute::Attribute& before,
             const OxAttribute::Attribute& after, std::vector<HistoryChange>& changes) const;
    void addChildren(const std::string& prefix, const OxAttribute::GroupAttribute& before,
                     const OxAttribute::GroupAttribute& after,
                     std::vector<HistoryChange>& changes) const;
    const OxOpType::CookRead* findSource(const std::string& name,
                                         const OxAttribute::Attribute& after) const;

    const std::string& location;
    const CookReads& sources;
};

/// Sets the members of the step that are about potential children, from the names at time 0.
void CompareChildren(const OxAttribute::StringAttribute& before,
                     const OxAttribute::StringAttribute& after, HistoryStep& step);

} // namespace TELLAR

#endif
