// Bytes of a container that change after they were checked, as those of a mapped file do when
// another program writes into it. Readers then see other values or get an error. Built with
// AddressSanitizer, this shows that they never read outside of the file.
#include <OxTellarSDK/Attribute.h>

#include <cstdint>
#include <exception>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/XFormUtil.h>

#include "CarelessReader.h"
#include "ContainerBytes.h"
#include "SampleValue.h"

using namespace OxAttribute;

namespace {

/// The bytes of the container that a root value lies in, with write access.
class OpenBytes {
public:
    OpenBytes(const Attribute& root, const std::string& file)
        : start(reinterpret_cast<char*>(root.getHandle()) -
                ContainerBytes::FooterOf(file).rootUnit * kUnitBytes),
          size(ContainerBytes::FooterOf(file).tableOffset), original(start, size) {}
    ~OpenBytes() { restore(); }

    void restore() const { original.copy(start, size); }
    template <typename Random>
    void change(Random& random, int count) const {
        for (int i = 0; i < count; ++i)
            start[random() % size] = static_cast<char>(random());
    }

private:
    char* const start;
    const std::size_t size;
    const std::string original;
};

void Collect(const GroupAttribute& group, std::vector<Attribute>& values) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        values.push_back(group.getChildByIndex(i));
        Collect(GroupAttribute(values.back()), values);
    }
}

/// Every error is welcome, and so is any content.
template <typename Use>
void Try(const Use& use) {
    try {
        use();
    } catch (const std::exception&) {
    }
}

void ReadInEveryWay(const Attribute& value) {
    Try([&] { Damaged::Reader().read(value); });
    Try([&] { static_cast<void>(value.getHash()); });
    Try([&] { static_cast<void>(value.getXML()); });
    const GroupAttribute group(value);
    Try([&] { StringAttribute(group.getChildNames()).getNearestSample(0.0f); });
    Try([&] { static_cast<void>(group.getChild("type", 1)); });
    for (const char* path : {"child3.user.text", "user.matrix", "type", "many.child4"})
        Try([&] { StringAttribute(group.getChildByName(path)).getValue("", false); });
    Try([&] { OxXFormUtil::CalcTransformMatrixAtTime(group, 0.5f); });
}

} // namespace

class ChangedBytes : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Few, ChangedBytes, testing::Values(1, 3, 20));
INSTANTIATE_TEST_SUITE_P(Many, ChangedBytes, testing::Values(300));

TEST_P(ChangedBytes, GiveOtherValuesOrAnError) {
    for (const GroupAttribute& sample : {SampleValue(), AlikeValue(), SampleOpTree()}) {
        const std::string file = ContainerBytes::Write(sample);
        const GroupAttribute root(ContainerBytes::Read(file));
        std::vector<Attribute> values = {root};
        Collect(root, values);
        const OpenBytes bytes(root, file);
        std::mt19937 random(static_cast<unsigned>(GetParam()));
        for (int round = 0; round < 60; ++round) {
            bytes.change(random, GetParam());
            for (const Attribute& value : values)
                ReadInEveryWay(value);
            Try([&] { ContainerBytes::Write(root); });
            bytes.restore();
        }
        EXPECT_EQ(root.getXML(), sample.getXML()); // hashes of changed bytes may be kept
    }
}
