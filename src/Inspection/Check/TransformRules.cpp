#include "TransformRules.h"

#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <Imath/ImathMatrix.h>

#include <OxTellarSDK/XFormUtil.h>

#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;
using Imath::M44d;
using Imath::V3d;

namespace {

/// A determinant of less than this part of the lengths of the rows is a rounding error.
constexpr double kSmallestPart = 1e-13;

/// A group may be in a transform under several names, so that the number of steps may double with
/// each level.
constexpr std::size_t kMostSteps = 65536;

std::vector<float> TimesOf(const Attribute& attribute) {
    std::vector<float> times;
    VisitNumbers(attribute, [&](const auto& numbers) {
        for (std::int64_t i = 0; i < numbers.getNumberOfTimeSamples(); ++i)
            times.push_back(numbers.getSampleTime(i));
    });
    return times;
}

std::string TimesText(const std::vector<float>& times) {
    constexpr std::size_t kMost = 4;
    std::string text;
    for (std::size_t i = 0; i < times.size() && i < kMost; ++i)
        text += (i == 0 ? "" : " ") + NumberText(static_cast<double>(times[i]));
    return times.size() > kMost ? text + " ..." : text;
}

/// Checks the steps of a transform, also those in nested groups.
class StepCheck {
public:
    explicit StepCheck(Drafts& drafts) : drafts(drafts) {}

    void checkGroup(const std::string& name, const GroupAttribute& group) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren() && stepsLeft > 0; ++i) {
            --stepsLeft;
            const Attribute child = group.getChildByIndex(i);
            const std::string_view childName = group.getChildNameView(i);
            const std::string attribute = name + '.' + std::string(childName);
            if (child.getType() == kAttributeTypeGroup)
                checkGroup(attribute, GroupAttribute(child));
            else
                checkStep(attribute, childName, child);
        }
    }

    /// Whether all steps can be used and are finite.
    bool isSound() const { return areAllSound; }

private:
    void checkStep(const std::string& attribute, std::string_view name, const Attribute& value) {
        const std::optional<std::int64_t> needed = OxXFormUtil::ValuesOfStep(name);
        if (needed && *needed == 0) return; // an origin may hold anything
        const std::optional<ValueCount> count = CountValues(value);
        if (!needed) {
            if (IsNumeric(value)) refuse(attribute, "it is no step of a transform");
        } else if (!IsNumeric(value)) {
            refuse(attribute, "it does not hold numbers");
        } else if (count->values < *needed) {
            refuse(attribute, "it holds " + Counted(count->values, "number") + ", and needs " +
                                  std::to_string(*needed));
        } else if (!AreFinite(value)) {
            refuse(attribute, "it holds numbers that are not finite");
        } else if (count->times > 1) {
            checkTimes(attribute, value);
        }
    }

    void refuse(const std::string& attribute, const std::string& problem) {
        areAllSound = false;
        drafts.add(Rule::TransformValue, attribute, problem);
    }

    void checkTimes(const std::string& attribute, const Attribute& value) {
        const std::vector<float> times = TimesOf(value);
        if (firstMoving.empty()) {
            firstMoving = attribute;
            firstTimes = times;
        } else if (times != firstTimes) {
            drafts.add(Rule::TransformSamples, attribute,
                       "its samples are at the times " + TimesText(times) + ", and those of " +
                           Quoted(firstMoving) + " at " + TimesText(firstTimes));
        }
    }

    Drafts& drafts;
    std::size_t stepsLeft = kMostSteps;
    bool areAllSound = true;
    std::string firstMoving; // the first step with several samples; empty so far
    std::vector<float> firstTimes;
};

bool IsSingular(const double* values) {
    const V3d rows[] = {{values[0], values[1], values[2]},
                        {values[4], values[5], values[6]},
                        {values[8], values[9], values[10]}};
    const double volume = rows[0].cross(rows[1]).dot(rows[2]);
    const double largest = rows[0].length() * rows[1].length() * rows[2].length();
    return !(std::abs(volume) > kSmallestPart * largest);
}

} // namespace

void CheckTransform(const Attribute& xform, Drafts& drafts) {
    const GroupAttribute group(xform);
    if (!group.isValid()) {
        if (xform.isValid() && xform.getType() != kAttributeTypeNull)
            drafts.add(Rule::TransformValue, "xform", "it is no group of steps");
        return;
    }
    StepCheck steps(drafts);
    steps.checkGroup("xform", group);
    if (!steps.isSound()) return;
    const DoubleAttribute matrices = OxXFormUtil::CalcTransformMatrixAtExistingTimes(group).first;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        const auto matrix = matrices.getNearestSample(matrices.getSampleTime(i));
        if (!IsSingular(matrix.data())) continue;
        const bool isMoving = matrices.getNumberOfTimeSamples() > 1;
        return drafts.add(
            Rule::TransformSingular, "xform",
            "it flattens everything below the location" +
                (isMoving ? " at time " + NumberText(static_cast<double>(matrices.getSampleTime(i)))
                          : std::string()));
    }
}

} // namespace TELLAR
