// The rules for lights.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "LightAndCameraRules.h"
#include "Values.h"
#include "text/SimilarNames.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

/// A light of less than this is black in every picture.
constexpr double kDarkest = 1e-12;

using Color = std::array<double, 3>;

double Brightest(const Color& color) {
    return *std::max_element(color.begin(), color.end());
}

/// Checks one light.
class LightCheck {
public:
    LightCheck(const GroupAttribute& light, Drafts& drafts) : light(light), drafts(drafts) {}

    void check() {
        if (!checkType()) return;
        const double intensity = number("intensity", 1, true);
        const double exposure = number("exposure", 0, false);
        const Color color = colorOf("color");
        for (const char* name : {"radius", "angle", "coneInner", "coneOuter"})
            number(name, 1, true);
        checkDecay();
        const double strength = intensity * std::exp2(exposure);
        if (!(Brightest(color) > 0))
            dark("light.color", "it is black");
        else if (!(strength * Brightest(color) > kDarkest))
            dark(intensity > 0 ? "light.exposure" : "light.intensity",
                 "the light has no brightness");
        checkShape();
    }

private:
    bool checkType() {
        static const std::vector<std::string> known = {"directional", "point",   "spot",
                                                       "area",        "ambient", "environment"};
        type = TextOf(ChildOf(light, "type"));
        if (std::find(known.begin(), known.end(), type) != known.end()) return true;
        drafts.add(Rule::LightType, light.isValid() ? "light.type" : "light",
                   type.empty()
                       ? "it is missing"
                       : Quoted(type) + " is not known" + TellarInternal::DidYouMean(known, type));
        return false;
    }

    /// The default if the number is missing or has a problem.
    double number(const char* name, double otherwise, bool isSize) {
        const std::vector<double> numbers = read(name);
        if (numbers.empty()) return otherwise;
        if (numbers.size() != 1)
            refuse(name,
                   "it holds " + Counted(static_cast<std::int64_t>(numbers.size()), "number"));
        else if (!std::isfinite(numbers[0]) || (isSize && numbers[0] < 0))
            refuse(name, "it is " + NumberText(numbers[0]));
        else
            return numbers[0];
        return otherwise;
    }

    /// White if it is missing or has a problem.
    Color colorOf(const char* name) {
        const std::vector<double> numbers = read(name);
        if (numbers.empty()) return {1, 1, 1};
        if (numbers.size() != 1 && numbers.size() != 3) {
            refuse(name,
                   "it holds " + Counted(static_cast<std::int64_t>(numbers.size()), "number"));
            return {1, 1, 1};
        }
        const bool isSound = std::all_of(numbers.begin(), numbers.end(), [](double value) {
            return std::isfinite(value) && value >= 0;
        });
        if (!isSound) {
            refuse(name, "it has a component that is negative or not finite");
            return {1, 1, 1};
        }
        return {numbers.front(), numbers[numbers.size() / 2], numbers.back()};
    }

    void checkDecay() {
        const std::vector<double> numbers = read("decay");
        const bool isSound =
            numbers.size() == 3 &&
            std::all_of(numbers.begin(), numbers.end(),
                        [](double value) { return std::isfinite(value) && value >= 0; }) &&
            std::any_of(numbers.begin(), numbers.end(), [](double value) { return value > 0; });
        if (!numbers.empty() && !isSound)
            refuse("decay", "it is not three numbers from 0 on of which one is larger");
    }

    void checkShape() {
        if (type == "spot" && number("coneOuter", 40, true) == 0)
            dark("light.coneOuter", "the cone has no angle");
        if (type == "area") checkSize();
        if (type != "environment" || ChildOf(light, "texture").isValid()) return;
        double brightest = 0;
        for (const char* name : {"horizon", "zenith", "ground"})
            brightest = std::max(brightest, Brightest(colorOf(name)));
        if (!(brightest > 0)) dark("light.horizon", "horizon, zenith and ground are all black");
    }

    void checkSize() {
        const std::vector<double> size = read("size");
        if (size.empty()) return;
        const bool isSound = size.size() == 2 && size[0] > 0 && size[1] > 0 &&
                             std::isfinite(size[0]) && std::isfinite(size[1]);
        if (!isSound) refuse("size", "it is not a width and a height above 0");
    }

    /// Empty if the attribute is missing, or after a draft.
    std::vector<double> read(const char* name) {
        const Attribute attribute = ChildOf(light, name);
        std::vector<double> numbers = NumbersOf(attribute);
        if (attribute.isValid() && numbers.empty()) refuse(name, "it holds no numbers");
        return numbers;
    }

    void refuse(const char* name, const std::string& problem) {
        const std::string attribute = std::string("light.") + name;
        const auto& list = drafts.get();
        // Some attributes are read twice.
        const bool isKnown = std::any_of(list.begin(), list.end(), [&](const Draft& draft) {
            return draft.attribute == attribute;
        });
        if (!isKnown) drafts.add(Rule::LightValue, attribute, problem);
    }
    void dark(const char* attribute, const char* problem) {
        drafts.add(Rule::LightDark, attribute, problem);
    }

    const GroupAttribute& light;
    Drafts& drafts;
    std::string_view type;
};

} // namespace

void CheckLight(const GroupAttribute& light, Drafts& drafts) {
    LightCheck(light, drafts).check();
}

} // namespace TELLAR
