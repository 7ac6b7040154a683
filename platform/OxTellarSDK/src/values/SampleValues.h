#ifndef OXTELLARSDK_SAMPLEVALUES_H
#define OXTELLARSDK_SAMPLEVALUES_H

#include "DataView.h"

namespace OxAttribute {

/// The values of the sample with this index, valid while `attribute` lives. Finding all samples by
/// their times instead would take time in proportion to the square of their number.
template <typename T>
ConstSample<T> SampleValues(const NumericAttribute<T>& attribute, std::int64_t index) {
    const DataView view = ViewOf(attribute.getHandle(), NumericAttribute<T>::kType);
    const auto count = static_cast<std::int64_t>(view.count);
    if (index >= view.timeCount) return {}; // it has changed
    return {Attribute(), view.as<T>() + index * count, count};
}

inline ConstStringSample SampleValues(const StringAttribute& attribute, std::int64_t index) {
    return attribute.getSample(index);
}

/// True if the only sample lies at time +0, so that the times need not be written.
inline bool IsTimeless(const DataAttribute& attribute) {
    return ViewOf(attribute.getHandle()).times == nullptr;
}

} // namespace OxAttribute

#endif
