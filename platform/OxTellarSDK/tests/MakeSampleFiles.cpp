// Writes attribute files, each with its value as XML beside it:
//
//     MakeSampleFiles <folder>
//
// read_attribute_file.py reads them with nothing of this library, and the fuzzers start from them.

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "ExampleValue.h"
#include "RandomAttribute.h"
#include "SampleValue.h"

using namespace OxAttribute;

namespace {

void WriteText(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush()) throw std::runtime_error("Cannot write file \"" + path + '"');
}

void Write(const std::string& path, const Attribute& value) {
    WriteAttributeFile(path + ".oxa", value);
    WriteText(path + ".xml", value.getXML());
}

/// An op tree with arguments of every kind.
GroupAttribute OpTreeWith(const GroupAttribute& args) {
    return GroupAttribute(
        {{"made", GroupAttribute({{"opType", StringAttribute("Source")}, {"opArgs", args}}, true)},
         {"last", GroupAttribute({{"opType", StringAttribute("Filter")},
                                  {"opInputs", StringAttribute("made")}},
                                 true)}},
        true);
}

void WriteAll(const std::string& folder) {
    Write(folder + "/example", ExampleValue());
    Write(folder + "/sample", SampleValue());
    Write(folder + "/int", IntAttribute(7));
    Write(folder + "/null", NullAttribute());
    Write(folder + "/empty", GroupAttribute(true));
    for (std::uint64_t seed = 0; seed < 40; ++seed)
        Write(folder + "/random" + std::to_string(seed), RandomAttribute(seed).make(4));
    WriteOpFile(folder + "/optree.oxo", SampleOpTree());
    // Compressed: one that is decompressed when it is opened, and one that is opened in place.
    WriteAttributeFile(folder + "/sample.oxz", SampleValue(), true);
    const std::vector<double> zeros(700000);
    WriteAttributeFile(
        folder + "/zeros.oxz",
        GroupAttribute({{"zeros", DoubleAttribute(zeros, 1)}, {"i", IntAttribute(7)}}, true), true);
    WriteText(folder + "/optree.xml", SampleOpTree().getXML());
    WriteText(folder + "/optree.json", WriteDescriptionJson(SampleOpTree()));
    WriteText(folder + "/sample.json", WriteDescriptionJson(OpTreeWith(SampleValue())));
    for (std::uint64_t seed = 0; seed < 10; ++seed)
        WriteText(folder + "/random" + std::to_string(seed) + ".json",
                  WriteDescriptionJson(OpTreeWith(RandomAttribute(seed).group(3))));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: MakeSampleFiles <folder>\n");
        return 2;
    }
    try {
        WriteAll(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "MakeSampleFiles: %s\n", error.what());
        return 1;
    }
    return 0;
}
