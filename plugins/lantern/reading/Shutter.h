#ifndef LANTERN_READING_SHUTTER_H
#define LANTERN_READING_SHUTTER_H

#include "reading/Attribute.h"
#include "reading/Suites.h"

namespace lantern {

/// The largest number of motion steps. Smaller numbers are 5, 3 or 2, whose times are among those
/// of the finest steps.
constexpr int kFinestSteps = 9;

/// The interval in which the shutter is open, in sample times of the scene.
struct Shutter {
    float open = 0;
    float close = 0;

    bool isOpen() const { return close > open; }
    float timeOf(int step, int steps) const;
};

/// The number of evenly spaced steps that include all of the value's samples while the shutter is
/// open; 1 for a value that does not change meanwhile.
int CountSteps(const Suites& suites, const Attribute& value, const Shutter& shutter);

/// The index, among the finest steps, of a step out of `steps`.
inline int FinestStepOf(int step, int steps) {
    return steps == 1 ? 0 : step * (kFinestSteps - 1) / (steps - 1);
}

} // namespace lantern

#endif
