#ifndef LANTERN_READING_WARNINGS_H
#define LANTERN_READING_WARNINGS_H

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "Report.h"

namespace lantern {

/// Tells what is passed over, without saying the same a million times. Any number of threads.
class Warnings {
public:
    explicit Warnings(Report& report) : report(report) {}

    /// "where: what"; of the places with the same `what` the first few are told.
    void warn(const std::string& where, const std::string& what);
    /// Tells how many more there were.
    void tellTheRest();

private:
    Report& report;
    std::mutex lock; // guards what follows
    std::map<std::string, std::int64_t> counts;
};

} // namespace lantern

#endif
