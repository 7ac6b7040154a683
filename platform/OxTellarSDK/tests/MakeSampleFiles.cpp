// Writes attribute files, each with its value as XML beside it:
//
//     MakeSampleFiles <folder>
//
// read_attribute_file.py reads them with nothing of this library, and the fuzzers start from them.

#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <numeric>
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

void WriteCompressed(const std::string& path, const Attribute& value) {
    WriteAttributeFile(path + ".oxz", value, true);
    WriteText(path + ".xml", value.getXML());
}

/// Several blocks of a compressed file, each with other values.
GroupAttribute ValuesOfManyBlocks() {
    std::vector<std::int32_t> numbers(150000);
    std::iota(numbers.begin(), numbers.end(), 0);
    return GroupAttribute(
        {{"numbers", IntAttribute(numbers, 3)}, {"text", StringAttribute(std::string(70000, 't'))}},
        true);
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
    WriteOpFile(folder + "/optree.oxz", SampleOpTree(), true);
    WriteCompressed(folder + "/sample", SampleValue());
    WriteCompressed(folder + "/blocks", ValuesOfManyBlocks());
    // The library decompresses those above at once when it opens them, and reads this one in place.
    const std::vector<double> zeros(700000);
    WriteCompressed(
        folder + "/zeros",
        GroupAttribute({{"zeros", DoubleAttribute(zeros, 1)}, {"i", IntAttribute(7)}}, true));
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
