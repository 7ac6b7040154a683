#include "TempRenderLocation.h"

#include <algorithm>
#include <cstddef>

#include <OxTellarSDK/StringUtil.h>

#include "text/NumberText.h"

using OxAttribute::StringAttribute;

namespace TELLAR::RenderOutputUtilsHost {

namespace {

std::string TextAt(GeometryProducer& root, const std::string& name) {
    return StringAttribute(root.getAttribute(name.c_str())).getValue("", false);
}

/// Replaces every run of "#" by the frame, padded to the length of the run.
std::string WithFrame(std::string text, int frame) {
    for (std::size_t run = text.find('#'); run != std::string::npos; run = text.find('#', run)) {
        const std::size_t length = std::min(text.find_first_not_of('#', run), text.size()) - run;
        text.replace(run, length, TellarInternal::PaddedFrame(frame, length));
    }
    return text;
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
    return folder + separator + id + "." + TellarInternal::PaddedFrame(frame, 4);
}

} // namespace TELLAR::RenderOutputUtilsHost
