#include <OxTellarProducers/ProceduralArguments.h>

#include <locale>
#include <sstream>
#include <string_view>

#include <OxAssetHost/OxAssetPluginManager.h>
#include <OxTellarSDK/StringUtil.h>

#include "Lens.h"
#include "ProceduralCamera.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Producer = GeometryProducer::Ptr;

/// Writes arguments as the flags of a command line.
class ArgumentWriter {
public:
    ArgumentWriter(Producer producer, int frame, ProceduralErrorCallback callback)
        : producer(std::move(producer)), frame(frame), callback(callback),
          assets(OxAssetPluginManager::getDefaultAssetPlugin()) {
        out.imbue(std::locale::classic());
        // Makes the stream throw when it has no memory for a part of the text.
        out.exceptions(std::ios::badbit);
    }

    void writeArguments(const GroupAttribute& arguments) {
        for (std::int64_t i = 0; i < arguments.getNumberOfChildren(); ++i)
            writeArgument(arguments.getChildNameView(i), arguments.getChildByIndex(i));
    }

    /// " -name value value".
    template <typename Numbers>
    void writeNumbers(std::string_view name, const Numbers& numbers) {
        const auto sample = numbers.getNearestSample(0.0f);
        if (sample.empty()) return;
        writeFlag(name);
        for (const auto number : sample)
            out << ' ' << number;
    }

    std::ostream& writeFlag(std::string_view name) { return out << " -" << name; }

    std::string take() { return out.str(); }

private:
    void writeArgument(std::string_view name, const Attribute& argument) {
        switch (argument.getType()) {
        case kAttributeTypeInt:
            return writeNumbers(name, IntAttribute(argument));
        case kAttributeTypeFloat:
            return writeNumbers(name, FloatAttribute(argument));
        case kAttributeTypeDouble:
            return writeNumbers(name, DoubleAttribute(argument));
        case kAttributeTypeString:
            return OxStringUtil::startswith(name, "extraArgs")
                       ? writeExtraArguments(StringAttribute(argument))
                       : writeTexts(name, StringAttribute(argument));
        default:
            return;
        }
    }

    /// The value alone, which is whole arguments as the user typed them.
    void writeExtraArguments(const StringAttribute& argument) {
        const auto texts = argument.getNearestSample(0.0f);
        if (texts.empty()) return;
        out << ' '
            << resolve(std::string(texts[0]), "asset resolve failed on '",
                       "' when building an procedural.")
            << ' ';
    }

    /// " -name value", or several values in quotes.
    void writeTexts(std::string_view name, const StringAttribute& argument) {
        const auto texts = argument.getNearestSample(0.0f);
        if (texts.empty()) return;
        const char* const quote = texts.size() == 1 ? "" : "'";
        writeFlag(name);
        out << ' ' << quote;
        const char* separator = "";
        for (const std::string_view text : texts) {
            out << separator
                << resolve(std::string(text), "asset resolve failed on  '",
                           "' when building an procedural call.");
            separator = " ";
        }
        out << quote;
    }

    /// Returns the text itself when it cannot be resolved, and reports that in the given words.
    std::string resolve(const std::string& text, const char* failure, const char* occasion) const {
        try {
            return assets->resolvePath(text, frame, true);
        } catch (...) {
            if (callback) callback(failure + text + occasion, producer);
            return text;
        }
    }

    const Producer producer;
    const int frame;
    const ProceduralErrorCallback callback;
    const std::shared_ptr<const OxAssetPlugin> assets;
    std::ostringstream out;
};

void WriteCamera(const CameraInfo& camera, const std::string& path, ArgumentWriter& writer) {
    const std::string prefix = kCameraPrefix;
    writer.writeFlag(prefix + "path") << ' ' << path;
    for (const LensField& field : kLensFields)
        writer.writeNumbers(prefix + field.name, FloatAttribute(camera.*field.member));
    writer.writeNumbers(prefix + "xform", CameraXform(camera));
}

} // namespace

std::string BuildClassicProceduralArgumentsString(Producer producer,
                                                  ProceduralOutputContextInfo& context,
                                                  GroupAttribute procedural,
                                                  ProceduralErrorCallback callback) {
    ArgumentWriter writer(producer, context.frame, callback);
    writer.writeArguments(procedural.getChildByName("args"));
    writer.writeArguments(procedural.getChildByName("systemArgs"));

    std::string cameraPath;
    if (const auto camera = FindParameterCamera(producer, procedural, cameraPath))
        WriteCamera(*camera, cameraPath, writer);

    writer.writeFlag("frame") << ' ' << context.frame;
    writer.writeFlag("shutter") << ' ' << context.shutterOpen << ' ' << context.shutterClose;
    std::ostream& out = writer.writeFlag("cropwindow");
    for (const float edge : context.cropWindow)
        out << ' ' << edge;
    return writer.take();
}

} // namespace TELLAR
