#ifndef SCENEIMPORT_SURFACENETWORK_H
#define SCENEIMPORT_SURFACENETWORK_H

#include <array>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>

namespace TellarSceneImport {

using Color = std::array<float, 3>;

/// A node of type "image".
struct ImageNode {
    std::string file;
    int uvSet = 0;                                  ///< 0 is "st", 1 is "st1"
    std::string wrapU = "repeat", wrapV = "repeat"; ///< "repeat", "clamp", "mirror", "decal"
    bool isColor = false;                           ///< true: a color in sRGB; false: data
    std::vector<float> multiply;                    ///< empty for none
    std::vector<float> uvTransform; ///< empty, or translation, scale and turn in radians
};

/// The "material" group of an imported material under construction: a node "surface" of type
/// "standard_surface", and the nodes that are connected to its inputs. For one thread.
class SurfaceNetwork {
public:
    void set(const std::string& parameter, float value);
    void set(const std::string& parameter, const Color& color);
    void set(const std::string& parameter, int value);

    void addImage(const std::string& name, const ImageNode& image);
    /// Adds a node of another type. `inputs` holds a text such as "out@baseColorImage" for each of
    /// its connected inputs.
    void addNode(const std::string& name, const std::string& type,
                 const OxAttribute::GroupAttribute& inputs);
    /// Connects an input of the surface to a port of another node. The last connection counts.
    void connect(const std::string& input, const std::string& port, const std::string& node);

    OxAttribute::GroupAttribute build();

private:
    OxAttribute::GroupAttribute shader(const OxAttribute::GroupAttribute& values);

    OxAttribute::GroupBuilder parameters;
    OxAttribute::GroupBuilder connections;
    OxAttribute::GroupBuilder nodes;
};

/// The largest component; 0 if none is positive.
float Largest(const Color& color);
Color Scaled(const Color& color, float factor);

/// The roughness of the microfacet lobe that looks like a highlight with this exponent.
float RoughnessOfExponent(float exponent);

} // namespace TellarSceneImport

#endif
