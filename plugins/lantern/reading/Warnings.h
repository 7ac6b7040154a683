#ifndef LANTERN_READING_WARNINGS_H
#define LANTERN_READING_WARNINGS_H

#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "Report.h"

namespace lantern {

/// Reports warnings and limits the repetitions. Safe from several threads at once.
class Warnings {
public:
    explicit Warnings(Report& report) : report(report) {}

    /// Reports "where: what". Only the first few places with the same `what` are reported.
    void warn(const std::string& where, const std::string& what);
    /// Reports a location that is left out because it cannot be cooked.
    void warn(const RenderError& failure);
    /// Reports the number of warnings that were left out.
    void tellTheRest();

private:
    Report& report;
    std::mutex lock; // guards the members below
    std::map<std::string, std::int64_t> counts;
    std::set<std::string> failures;
};

} // namespace lantern

#endif
