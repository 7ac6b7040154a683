#ifndef LANTERN_READING_TRANSFORM_H
#define LANTERN_READING_TRANSFORM_H

#include <vector>

#include "SceneData.h"
#include "reading/Shutter.h"

namespace lantern {

/// Where a location is in the world while the shutter is open.
struct Transform {
    /// One, or one for each of the finest steps.
    std::vector<M44d> matrices{M44d()};
    /// How many of them are needed.
    int steps = 1;

    const M44d& at(int step) const {
        return matrices[matrices.size() == 1 ? 0
                                             : static_cast<std::size_t>(FinestStepOf(step, steps))];
    }
};

/// A location's own transform, "xform": a group whose children are applied from last to first. The
/// beginning of a child's name tells its kind: translate, rotate, scale, shear, matrix, origin
/// (forgets all above); groups count as their children in place. Others are left out.
class LocalTransform {
public:
    LocalTransform() = default;
    LocalTransform(const Suites& suites, const Attribute& xform, const Shutter& shutter);

    bool isEmpty() const { return parts.empty(); }
    /// Takes the transform of the location above to that of this one.
    void applyTo(Transform& transform) const;

private:
    enum class Kind { Translate, Rotate, Scale, Shear, Matrix, Origin };
    struct KindRow;
    struct Part {
        Kind kind;
        int steps;                  // needed
        int valueCount;             // a step
        std::vector<double> values; // of one step, or of the finest ones
    };
    static const KindRow kKinds[];

    void addGroup(const Suites& suites, const Attribute& group, const Shutter& shutter);
    void addPart(const Suites& suites, const KindRow& row, const Attribute& value,
                 const Shutter& shutter);
    static void apply(const Part& part, const double* values, M44d& matrix);

    std::vector<Part> parts; // as listed: the first is applied last
};

/// The chain of a location's transforms from the root down.
Transform ReadTransform(const Suites& suites, const Attribute& chain, const Shutter& shutter);

} // namespace lantern

#endif
