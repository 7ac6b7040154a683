#include "UpAxis.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace TellarSceneImport {

using OxAttribute::DoubleAttribute;
using OxAttribute::GroupBuilder;

namespace {

constexpr Matrix kXToY = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
constexpr Matrix kZToY = {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1};

DoubleAttribute Turned(const DoubleAttribute& matrices, const Matrix& turn) {
    std::vector<float> times;
    std::vector<double> values;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i) {
        times.push_back(matrices.getSampleTime(i));
        const auto sample = matrices.getNearestSample(times.back());
        Matrix matrix{};
        std::copy_n(sample.begin(), std::min(sample.size(), matrix.size()), matrix.begin());
        const Matrix turned = Multiply(matrix, turn);
        values.insert(values.end(), turned.begin(), turned.end());
    }
    return {times.data(), static_cast<std::int64_t>(times.size()), values.data(), 16, 16};
}

// The motion of another node, turned upright.
class TurnedMotion : public Motion {
public:
    TurnedMotion(std::shared_ptr<const Motion> motion, const Matrix& turn)
        : motion(std::move(motion)), turn(turn) {}

    void apply(const FrameClock& clock, GroupBuilder& attrs) const override {
        GroupBuilder unturned;
        motion->apply(clock, unturned);
        const DoubleAttribute matrices(unturned.build().getChildByName("xform.matrix"));
        if (matrices.isValid()) attrs.set("xform.matrix", Turned(matrices, turn));
    }
    std::uint64_t memory() const override { return sizeof *this + motion->memory(); }

private:
    const std::shared_ptr<const Motion> motion;
    const Matrix turn;
};

} // namespace

void TurnUpright(SceneContent& content, char up) {
    if (up == 'y' || content.nodes.empty()) return;
    const Matrix& turn = up == 'x' ? kXToY : kZToY;
    ContentNode& root = content.nodes.front();
    root.matrix = Multiply(root.matrix, turn);
    if (root.motion) root.motion = std::make_shared<TurnedMotion>(root.motion, turn);
}

} // namespace TellarSceneImport
