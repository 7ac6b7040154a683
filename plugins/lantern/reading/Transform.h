#ifndef LANTERN_READING_TRANSFORM_H
#define LANTERN_READING_TRANSFORM_H

#include <vector>

#include "SceneData.h"
#include "reading/Shutter.h"

namespace lantern {

/// A location's transform to the world while the shutter is open.
struct Transform {
    /// One matrix, or one for each of the finest steps.
    std::vector<M44d> matrices{M44d()};
    /// The number of steps that the motion needs.
    int steps = 1;

    const M44d& at(int step) const {
        return matrices[matrices.size() == 1 ? 0
                                             : static_cast<std::size_t>(FinestStepOf(step, steps))];
    }
};

/// A location's own transform, "xform": a group whose children are applied from last to first. A
/// child's name begins with its kind: translate, rotate, scale, shear, matrix, or origin, which
/// discards the transforms of the ancestors. A nested group stands for its children. Children of
/// other names are ignored.
class LocalTransform {
public:
    LocalTransform() = default;
    LocalTransform(const Suites& suites, const Attribute& xform, const Shutter& shutter);

    bool isEmpty() const { return parts.empty(); }
    /// Changes the transform of the parent to the transform of this location.
    void applyTo(Transform& transform) const;

private:
    enum class Kind { Translate, Rotate, Scale, Shear, Matrix, Origin };
    struct KindRow;
    struct Part {
        Kind kind;
        int steps;                  // number of steps that its motion needs
        int valueCount;             // values per step
        std::vector<double> values; // the values of one step, or of all finest steps
    };
    static const KindRow kKinds[];

    void addGroup(const Suites& suites, const Attribute& group, const Shutter& shutter);
    void addPart(const Suites& suites, const KindRow& row, const Attribute& value,
                 const Shutter& shutter);
    static void apply(const Part& part, const double* values, M44d& matrix);

    std::vector<Part> parts; // the order of the group: the first is applied last
};

/// The product of a list of transforms from the root down.
Transform ReadTransform(const Suites& suites, const Attribute& chain, const Shutter& shutter);

} // namespace lantern

#endif
