#include <OxTellarProducers/CameraProjection.h>

#include <cmath>
#include <iterator>

#include "Lens.h"

using namespace OxAttribute;
using Matrix = Imath::Matrix44<double>;

namespace TELLAR {

namespace {

// Other renderers compute projections with this many digits and with the mixture of single and
// double precision below. Pictures match to the last bit only if the matrices do.
constexpr double kPi = 3.14159265;

float ToFloat(double value) {
    return static_cast<float>(value);
}

Matrix Perspective(float near, float far, float left, float right, float bottom, float top,
                   float fov, float aspect) {
    const float halfWidth = std::tan(ToFloat(fov * 0.5 * kPi / 180.0)) * near;
    const float halfHeight = ((right - left) / (top - bottom)) / aspect * halfWidth;
    const float l = left * halfWidth;
    const float r = right * halfWidth;
    const float b = bottom * halfHeight;
    const float t = top * halfHeight;
    Matrix matrix(0.0);
    matrix[0][0] = ToFloat(2.0 * near / (r - l));
    matrix[1][1] = ToFloat(2.0 * near / (t - b));
    matrix[2][0] = (l + r) / (r - l);
    matrix[2][1] = (b + t) / (t - b);
    matrix[2][2] = -(near + far) / (far - near);
    matrix[2][3] = -1.0;
    matrix[3][2] = ToFloat(-(2.0 * far * near) / (double(far) - near));
    return matrix;
}

Matrix Orthographic(float near, float far, float left, float right, float bottom, float top) {
    Matrix matrix(0.0);
    matrix[0][0] = ToFloat(2.0 / (double(right) - left));
    matrix[1][1] = ToFloat(2.0 / (double(top) - bottom));
    matrix[2][2] = ToFloat(-2.0 / (double(far) - near));
    matrix[3][0] = (left + right) / (right - left);
    matrix[3][1] = (bottom + top) / (top - bottom);
    matrix[3][2] = -(near + far) / (far - near);
    matrix[3][3] = 1.0;
    return matrix;
}

} // namespace

Matrix GetProjectionMatrix(float near, float far, float left, float right, float bottom, float top,
                           bool orthographic, float fov, float aspect) {
    return orthographic ? Orthographic(near, far, left, right, bottom, top)
                        : Perspective(near, far, left, right, bottom, top, fov, aspect);
}

Matrix GetProjectionMatrix(const CameraInfo& camera, float aspect) {
    const float scale = camera.orthographic ? ToFloat(camera.orthographicWidth * 0.5) : 1.0f;
    return GetProjectionMatrix(camera.near, camera.far, camera.left * scale, camera.right * scale,
                               camera.bottom * scale, camera.top * scale, camera.orthographic,
                               camera.fov, aspect);
}

CameraGeometry GetInterpolatedCameraGeometryFromAttr(GroupAttribute geometry, float time) {
    CameraGeometry lens;
    if (!geometry.isValid()) return lens;
    for (const LensField& field : kLensFields) {
        const DoubleAttribute values(geometry.getChildByName(field.name));
        if (!values.isValid()) continue;
        double value = 0.0;
        values.fillInterpSample(&value, 1, time, 0.0, false);
        lens.*field.member = ToFloat(value);
    }
    lens.orthographic = IsOrthographic(geometry.getChildByName("projection"));
    return lens;
}

void FindSampleTimesRelevantToShutterRange(const std::set<float>& sampleTimes, float shutterOpen,
                                           float shutterClose, std::vector<float>& relevantTimes) {
    constexpr float kNothingKept = -9999.0f;
    relevantTimes.clear();
    relevantTimes.reserve(sampleTimes.size());
    float previous = kNothingKept;
    for (auto time = sampleTimes.begin(); time != sampleTimes.end(); ++time) {
        const auto next = std::next(time);
        const bool isSuperseded =
            *time < shutterOpen && next != sampleTimes.end() && *next <= shutterOpen;
        if (isSuperseded) continue;
        if (*time > shutterClose && previous >= shutterClose) break;
        relevantTimes.push_back(*time);
        previous = *time;
    }
}

} // namespace TELLAR
