#include "TempRenderLocation.h"

#include <cstddef>
#include <regex>

#include <OxTellarSDK/StringUtil.h>

using OxAttribute::StringAttribute;

namespace TELLAR {
namespace RenderOutputUtilsHost {

namespace {

std::string TextAt(GeometryProducer& root, const std::string& name) {
    return StringAttribute(root.getAttribute(name.c_str())).getValue("", false);
}

/// Sign first, then zeros, to the width at least.
std::string PaddedFrame(int frame, std::size_t width) {
    std::string text = std::to_string(frame);
    if (text.size() < width) text.insert(frame < 0 ? 1 : 0, width - text.size(), '0');
    return text;
}

/// The text with the frame in place of every run of "#", padded to its length.
std::string WithFrame(const std::string& text, int frame) {
    static const auto& run = *new std::regex("#+");
    std::string result;
    auto rest = text.begin();
    for (std::sregex_iterator match(text.begin(), text.end(), run), end; match != end; ++match) {
        result.append(rest, (*match)[0].first);
        result += PaddedFrame(frame, static_cast<std::size_t>(match->length()));
        rest = (*match)[0].second;
    }
    return result.append(rest, text.end());
}

} // namespace

std::string GetTempRenderLocation(GeometryProducer& root, const std::string& outputName,
                                  int frame) {
    const std::string output = "renderSettings.outputs." + outputName;
    const std::string location = TextAt(root, output + ".rendererSettings.tempRenderLocation");
    if (!location.empty())
        return WithFrame(OxStringUtil::expandvars(OxStringUtil::expanduser(location)), frame);

    const std::string folder = TextAt(root, "renderSettings.tempDir");
    const std::string id = TextAt(root, output + ".tempRenderId");
    if (folder.empty() || id.empty()) return {};
    const char* const separator = OxStringUtil::endswith(folder, "/") ? "" : "/";
    return folder + separator + id + "." + PaddedFrame(frame, 4);
}

} // namespace RenderOutputUtilsHost
} // namespace TELLAR
