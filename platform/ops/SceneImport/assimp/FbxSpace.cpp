#include "FbxSpace.h"

#include <cmath>
#include <cstdint>

#include <assimp/scene.h>

namespace TellarSceneImport {

namespace {

constexpr double kMetresOfUnit = 0.01; // the unit of files is a centimetre times their factor

int Integer(const aiMetadata& settings, const char* name, int otherwise) {
    std::int32_t value = 0;
    return settings.Get(name, value) ? value : otherwise;
}

double UnitScale(const aiMetadata& settings) {
    double number = 0;
    if (settings.Get("UnitScaleFactor", number)) return number;
    float shorter = 0;
    return settings.Get("UnitScaleFactor", shorter) ? shorter : 1;
}

/// The axis of the file that the setting `name` is about, in the direction that it gives. Sets a
/// row of the matrix to the axis `target` of the scene.
bool SetAxis(const aiMetadata& settings, const char* name, const char* signName, int target,
             Matrix& matrix) {
    const int axis = Integer(settings, name, target);
    const int sign = Integer(settings, signName, 1);
    if (axis < 0 || axis > 2 || (sign != 1 && sign != -1)) return false;
    for (int column = 0; column < 3; ++column)
        matrix[axis * 4 + column] = column == target ? sign : 0;
    return true;
}

double Determinant(const Matrix& m) {
    return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
           m[2] * (m[4] * m[9] - m[5] * m[8]);
}

Matrix AxesOf(const aiMetadata& settings) {
    Matrix matrix{};
    matrix[15] = 1;
    const bool isValid = SetAxis(settings, "CoordAxis", "CoordAxisSign", 0, matrix) &&
                         SetAxis(settings, "UpAxis", "UpAxisSign", 1, matrix) &&
                         SetAxis(settings, "FrontAxis", "FrontAxisSign", 2, matrix);
    return isValid && Determinant(matrix) == 1 ? matrix : kIdentity;
}

} // namespace

void ConvertFbxSpace(const aiScene& scene, SceneContent& content) {
    if (!scene.mMetaData || content.nodes.empty()) return;
    Matrix space = AxesOf(*scene.mMetaData);
    double scale = UnitScale(*scene.mMetaData) * kMetresOfUnit;
    if (!std::isfinite(scale) || scale <= 0) scale = kMetresOfUnit;
    for (int i = 0; i < 12; ++i)
        space[i] = space[i] * scale + 0.0; // no negative zeros
    content.nodes.front().matrix = Multiply(content.nodes.front().matrix, space);
    for (ImportedLight& light : content.lights) {
        light.decay[1] = static_cast<float>(light.decay[1] / scale);
        light.decay[2] = static_cast<float>(light.decay[2] / (scale * scale));
    }
}

} // namespace TellarSceneImport
