#ifndef LANTERN_READING_SHUTTER_H
#define LANTERN_READING_SHUTTER_H

#include "reading/Attribute.h"
#include "reading/Suites.h"

namespace lantern {

/// As many steps as motion gets at the most; fewer ones are 5, 3 or 2, which all lie on these.
constexpr int kFinestSteps = 9;

/// From when to when the shutter is open, in sample times of the scene.
struct Shutter {
    float open = 0;
    float close = 0;

    bool isOpen() const { return close > open; }
    float timeOf(int step, int steps) const;
};

/// How many evenly spaced steps meet all of the value's samples while the shutter is open; 1 for
/// what has no two samples that matter.
int CountSteps(const Suites& suites, const Attribute& value, const Shutter& shutter);

/// Which of the finest steps is this one of fewer.
inline int FinestStepOf(int step, int steps) {
    return steps == 1 ? 0 : step * (kFinestSteps - 1) / (steps - 1);
}

} // namespace lantern

#endif
