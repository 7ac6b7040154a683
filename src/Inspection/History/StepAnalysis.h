#ifndef OXTELLARPRODUCERS_STEPANALYSIS_H
#define OXTELLARPRODUCERS_STEPANALYSIS_H

#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>
#include <OxTellarSDK/CookTrace.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "HistorySubject.h"

namespace TELLAR {

/// A read whose own history is part of the history.
struct WantedRead {
    std::size_t input = 0;
    std::string location;
    HistoryRole role = HistoryRole::Origin;
};

/// A step without its reads, and what these are.
struct StepAnalysis {
    HistoryStep step;
    /// The origin first. For a location that does not exist: the same location of every input, of
    /// which HistoryWalk keeps those that matter.
    std::vector<WantedRead> reads;
    bool exists = false; ///< whether the location does
};

/// Finds out what an Op did to the subject at a location, by a comparison of what it made with what
/// it read.
StepAnalysis AnalyseStep(const std::shared_ptr<TellarRuntime::Op>& op, const std::string& location,
                         const HistorySubject& subject, const OxOpType::CookTrace& trace);

} // namespace TELLAR

#endif
