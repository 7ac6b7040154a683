#ifndef OXTELLARPRODUCERS_VALUECOMPARISON_H
#define OXTELLARPRODUCERS_VALUECOMPARISON_H

#include <string>
#include <string_view>
#include <vector>

#include <OxTellarProducers/SceneDifference.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/LocationPath.h>

namespace TELLAR {

/// Finds the attributes that differ between two groups. Immutable: any number of threads may share
/// one.
class ValueComparison {
public:
    /// See DifferenceOptions. Throws std::invalid_argument and std::runtime_error as
    /// VisitDifferences does.
    ValueComparison(double tolerance, const std::vector<std::string>& patterns);

    /// Whether all attributes are compared.
    bool hasNoPatterns() const { return patterns.isEmpty(); }

    /// See LocationDifference::values. Reading a damaged file throws std::runtime_error.
    std::vector<ValueDifference> compare(const OxAttribute::GroupAttribute& before,
                                         const OxAttribute::GroupAttribute& after) const;

private:
    using Differences = std::vector<ValueDifference>;

    void compareGroups(const std::string& name, const OxAttribute::GroupAttribute& before,
                       const OxAttribute::GroupAttribute& after, Differences& found) const;
    void compareValues(const std::string& name, const OxAttribute::Attribute& before,
                       const OxAttribute::Attribute& after, Differences& found) const;
    bool isWanted(std::string_view name) const;
    bool isWantedBelow(std::string_view name) const;

    const double tolerance;
    const OxLocationPath::Patterns patterns; // levels of attributes as levels of paths
};

} // namespace TELLAR

#endif
