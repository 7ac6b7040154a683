// The renderer plug-in "recorder": its pictures are texts that tell everything a renderer could
// see, in the order of the scene. The same scene gives the same text, so that op types can be
// tested by comparing it with one that was looked at before.

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/OxPluginApi.h>

namespace {

// Of a longer sample the beginning is written, and the hash of the whole attribute.
constexpr std::int64_t kMostValues = 48;
constexpr std::int64_t kValuesOfLongOnes = 12;

const OxPluginHost* host = nullptr;

struct Suites {
    const OxScenegraphIteratorHostSuite_v4* scenes;
    const OxRenderOutputUtilsHostSuite_v4* utils;
    const OxAttributeSuite_v4* values;
};

// ---- Text ---------------------------------------------------------------------------------------

template <typename Number>
std::string NumberText(Number number) {
    std::array<char, 64> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

/// The text in quotes, with quotes, backslashes and control characters escaped.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        if (static_cast<unsigned char>(c) >= 0x20) {
            quoted += c;
            continue;
        }
        std::array<char, 8> code{};
        std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned>(c));
        quoted += code.data();
    }
    return quoted + '"';
}

std::string HashText(const std::uint64_t (&words)[2]) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%016llx%016llx",
                  static_cast<unsigned long long>(words[0]),
                  static_cast<unsigned long long>(words[1]));
    return text.data();
}

// ---- Attributes ---------------------------------------------------------------------------------

/// Writes attributes, a line for each sample of each value.
class AttributeWriter {
public:
    AttributeWriter(const Suites& suites, std::string& out) : values(*suites.values), out(out) {}

    /// `name` is the dotted name of the attribute; empty for the group of all attributes.
    void write(const std::string& name, const OxAttributeStruct* attribute) {
        switch (values.getType(attribute)) {
        case kAttributeTypeGroup:
            return writeGroup(name, attribute);
        case kAttributeTypeString:
            return writeData(name, attribute, "string", [&](float time, std::int64_t i) {
                std::int64_t length = 0;
                const char* const text = values.getString(attribute, time, i, &length, nullptr);
                return text ? Quoted({text, static_cast<std::size_t>(length)}) : "damaged";
            });
        case kAttributeTypeInt:
            return writeNumbers(name, attribute, "int", values.getIntSample);
        case kAttributeTypeFloat:
            return writeNumbers(name, attribute, "float", values.getFloatSample);
        case kAttributeTypeDouble:
            return writeNumbers(name, attribute, "double", values.getDoubleSample);
        default:
            out += "    " + name + ": null\n";
        }
    }

private:
    void writeGroup(const std::string& name, const OxAttributeStruct* group) {
        const std::int64_t count = values.getNumberOfChildren(group);
        if (count == 0 && !name.empty()) out += "    " + name + ": group of nothing\n";
        for (std::int64_t i = 0; i < count; ++i) {
            OxAttributeStruct* const child = values.getChildByIndex(group, i, nullptr);
            const std::string childName = values.getChildName(group, i);
            std::string path = name;
            if (!name.empty()) path += '.';
            write(path += childName, child);
            values.release(child);
        }
    }

    template <typename GetSample>
    void writeNumbers(const std::string& name, const OxAttributeStruct* data, const char* type,
                      GetSample getSample) {
        writeData(name, data, type, [&](float time, std::int64_t i) {
            std::int64_t count = 0;
            const auto* const sample = getSample(data, time, &count, nullptr);
            return i < count ? NumberText(sample[i]) : std::string("damaged");
        });
    }

    template <typename ValueText>
    void writeData(const std::string& name, const OxAttributeStruct* data, const char* type,
                   ValueText valueText) {
        const std::int64_t count = values.getNumberOfValues(data);
        const std::int64_t tupleSize = values.getTupleSize(data);
        const std::int64_t samples = values.getNumberOfTimeSamples(data);
        const bool isLong = count > kMostValues;
        for (std::int64_t s = 0; s < samples; ++s) {
            const float time = values.getSampleTime(data, s);
            out += "    " + name + ": " + type;
            if (tupleSize != 1) out += '[' + NumberText(tupleSize) + ']';
            if (samples != 1) out += " at " + NumberText(time);
            for (std::int64_t i = 0; i < (isLong ? kValuesOfLongOnes : count); ++i)
                out += (i > 0 && i % tupleSize == 0 ? ", " : " ") + valueText(time, i);
            if (isLong) out += " ... " + NumberText(count) + " values";
            out += '\n';
        }
        if (isLong) writeHash(name, data);
    }

    void writeHash(const std::string& name, const OxAttributeStruct* data) {
        std::uint64_t words[2];
        values.getHash(data, words);
        out += "    " + name + ": hash " + HashText(words) + '\n';
    }

    const OxAttributeSuite_v4& values;
    std::string& out;
};

// ---- Locations ----------------------------------------------------------------------------------

struct Recording {
    const Suites& suites;
    const OxRenderListener_v1& listener;
    std::ostream& out;
    std::int64_t count = 0;
};

void AppendError(const Suites& suites, const OxErrorStruct* error, std::string& out) {
    OxErrorFacts facts{};
    suites.values->getErrorFacts(error, &facts);
    out += std::string("    error: ") + facts.text + '\n';
}

void AppendMatrix(const Suites& suites, OxSgIteratorStruct* location, std::string& out) {
    double matrix[16];
    OxErrorStruct* error = nullptr;
    if (suites.utils->getWorldMatrix(location, 0.0f, matrix, &error)) {
        out += "    world matrix:";
        for (const double value : matrix)
            out += ' ' + NumberText(value);
        out += '\n';
    } else {
        AppendError(suites, error, out);
    }
    suites.values->releaseError(error);
}

void AppendAttributes(const Suites& suites, OxSgIteratorStruct* location, std::string& out) {
    OxErrorStruct* error = nullptr;
    OxAttributeStruct* const attributes = suites.scenes->getAttribute(location, "", &error);
    if (attributes) AttributeWriter(suites, out).write("", attributes);
    if (error) AppendError(suites, error, out);
    OxAttributeStruct* const xform = suites.scenes->getAttribute(location, "xform", nullptr);
    if (xform) AppendMatrix(suites, location, out);
    suites.values->release(xform);
    suites.values->releaseError(error);
    suites.values->release(attributes);
}

std::int32_t Visit(OxVisit* visit, void* user) {
    auto& recording = *static_cast<Recording*>(user);
    const Suites& suites = recording.suites;
    const std::string_view type = suites.scenes->getType(visit->location, nullptr);
    std::string text = suites.scenes->getFullName(visit->location, nullptr);
    if (!type.empty()) text.append(" ").append(type);
    text += '\n';
    if (visit->error)
        AppendError(suites, visit->error, text);
    else
        AppendAttributes(suites, visit->location, text);
    recording.out << text;
    ++recording.count;
    return recording.out ? kOxVisitGoOn : kOxVisitStop;
}

// ---- The picture --------------------------------------------------------------------------------

int Fail(const OxRenderListener_v1& listener, const std::string& message) {
    if (listener.onMessage) listener.onMessage(kOxLogError, message.c_str(), listener.user);
    return kOxRenderFailed;
}

std::int32_t IsCancelled(void* user) {
    const OxRenderListener_v1& listener = static_cast<Recording*>(user)->listener;
    return listener.isCancelled && listener.isCancelled(listener.user);
}

int WriteFile(const Suites& suites, const OxRenderJob_v1& job, const std::string& path) {
    const std::string part = path + ".part";
    std::ofstream file(part, std::ios::binary);
    Recording recording{suites, job.listener, file};
    const OxVisitOptions options{job.threads, 1, IsCancelled, nullptr};
    const std::int32_t end = suites.scenes->visit(job.root, &options, Visit, &recording, nullptr);
    file.close();
    int status = kOxRenderDone;
    if (end == kOxVisitCancelled)
        status = kOxRenderCancelled;
    else if (!file || std::rename(part.c_str(), path.c_str()) != 0)
        status = Fail(job.listener, path + ": cannot be written");
    else if (end != kOxVisitDone)
        status = Fail(job.listener, path + ": the scene cannot be read");
    if (status != kOxRenderDone) std::remove(part.c_str());
    return status;
}

int Render(const OxRenderJob_v1* job) {
    if (!job) return kOxRenderFailed;
    if (!host) return Fail(job->listener, "there is no plug-in host");
    const Suites suites = {
        static_cast<const OxScenegraphIteratorHostSuite_v4*>(
            host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4)),
        static_cast<const OxRenderOutputUtilsHostSuite_v4*>(
            host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 4)),
        static_cast<const OxAttributeSuite_v4*>(host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4))};
    if (!suites.scenes || !suites.utils || !suites.values)
        return Fail(job->listener, "the host does not have the suites to read a scene by");
    if (!job->root || !job->picture) return Fail(job->listener, "there is nothing to record");
    const int status = WriteFile(suites, *job, job->picture);
    if (status == kOxRenderDone && job->listener.onPicture)
        job->listener.onPicture(job->picture, job->listener.user);
    return status;
}

// ---- Entry points -------------------------------------------------------------------------------

int SetHost(OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

const void* GetSuite() {
    static constexpr OxRendererPluginSuite_v1 suite = {Render, nullptr};
    return &suite;
}

constexpr OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                       "recorder",
                                       OX_RENDERER_API,
                                       OX_RENDERER_API_VERSION,
                                       1,
                                       0,
                                       GetSuite,
                                       SetHost,
                                       nullptr};

} // namespace

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : nullptr;
}
