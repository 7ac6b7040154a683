#ifndef OXTELLARPRODUCERS_HISTORYWALK_H
#define OXTELLARPRODUCERS_HISTORYWALK_H

#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "HistorySubject.h"

namespace TELLAR {

/// The steps that lead to the subject at a location of the Op, sources first. Each Op is traced
/// once for each location. No steps for a location that neither the Op nor any of its inputs makes.
std::vector<HistoryStep> WalkHistory(const std::shared_ptr<TellarRuntime::Op>& op,
                                     const std::string& location, const HistorySubject& subject);

} // namespace TELLAR

#endif
