// The rules for cameras.

#include <cmath>
#include <optional>
#include <string>

#include "Lens.h"
#include "LightAndCameraRules.h"
#include "Values.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

constexpr double kHalfTurn = 180;

/// Checks the lens of one camera.
class LensCheck {
public:
    LensCheck(const GroupAttribute& geometry, Drafts& drafts)
        : geometry(geometry), drafts(drafts) {}

    void check() const {
        bool isComplete = true;
        for (const LensField& field : kLensFields)
            isComplete = isDouble(field.name) && isComplete;
        if (!isComplete) return;
        if (!(numberOf("near") > 0)) refuse("near", numberOf("near"));
        if (!(numberOf("far") > numberOf("near")))
            add("far", "it is " + NumberText(numberOf("far")) + ", which is not beyond near");
        checkWindow("left", "right");
        checkWindow("bottom", "top");
        checkAngle();
        checkFocus();
    }

private:
    bool isDouble(const char* name) const {
        const Attribute value = ChildOf(geometry, name);
        const std::optional<double> number = NumberOf(value);
        if (!number)
            add(name, value.isValid() ? "it holds no number" : "it is missing");
        else if (value.getType() != kAttributeTypeDouble)
            add(name, "it is no double");
        else if (!std::isfinite(*number))
            refuse(name, *number);
        else
            return true;
        return false;
    }

    void checkWindow(const char* low, const char* high) const {
        if (numberOf(low) == numberOf(high))
            add(high, std::string("it is equal to ") + low + ", so that the picture has no size");
    }

    void checkAngle() const {
        if (!IsOrthographic(ChildOf(geometry, "projection"))) {
            const double fov = numberOf("fov");
            if (!(fov > 0 && fov < kHalfTurn)) refuse("fov", fov);
            return;
        }
        const double width = NumberOf(ChildOf(geometry, "orthographicWidth")).value_or(0);
        if (!(width > 0) || !std::isfinite(width)) refuse("orthographicWidth", width);
    }

    void checkFocus() const {
        const double radius = NumberOf(ChildOf(geometry, "apertureRadius")).value_or(0);
        if (!(radius >= 0) || !std::isfinite(radius)) refuse("apertureRadius", radius);
        const double distance = NumberOf(ChildOf(geometry, "focusDistance")).value_or(1);
        if (!(distance > 0) || !std::isfinite(distance)) refuse("focusDistance", distance);
    }

    double numberOf(const char* name) const {
        return NumberOf(ChildOf(geometry, name)).value_or(0);
    }

    void refuse(const char* name, double value) const { add(name, "it is " + NumberText(value)); }
    void add(const char* name, const std::string& problem) const {
        drafts.add(Rule::CameraLens, std::string("geometry.") + name, problem);
    }

    const GroupAttribute& geometry;
    Drafts& drafts;
};

} // namespace

void CheckLens(const GroupAttribute& geometry, Drafts& drafts) {
    LensCheck(geometry, drafts).check();
}

} // namespace TELLAR
