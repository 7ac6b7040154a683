// Writes an op file of ten million leaves, and tells on standard output, as JSON, how many bytes
// the process had resident before and at most while it wrote, and the processor time of both parts.
//
//     WriteTenMillion FILE
#include <sys/resource.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <string>
#include <vector>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/GroupBuilder.h>

using namespace OxAttribute;

namespace {

using Children = std::vector<GroupAttribute::Child>;

constexpr int kWidth = 100;   // children of a location
constexpr int kCopies = 1000; // of ten thousand leaves, which lie in memory once

GroupAttribute DescribeLeaf(int number) {
    const auto x = static_cast<double>(number);
    const auto left = static_cast<float>(number);
    const double matrix[] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, 0, 5, 1};
    const double bound[] = {x, x + 1, 0, 1, 0, 2};
    const float points[] = {left, 0, 0, left + 1, 0, 0, left + 1, 1, 0, left, 1, 0};
    const std::int32_t corners[] = {0, 1, 2, 3};
    const std::int32_t starts[] = {0, 4};
    GroupBuilder attributes;
    attributes.set("type", StringAttribute("polymesh"));
    attributes.set("xform.matrix", DoubleAttribute(matrix, 16, 16));
    attributes.set("bound", DoubleAttribute(bound, 6, 2));
    attributes.set("user.i", IntAttribute(number));
    attributes.set("user.s", StringAttribute("text of leaf " + std::to_string(number)));
    attributes.set("geometry.point.P", FloatAttribute(points, 12, 3));
    attributes.set("geometry.poly.vertexList", IntAttribute(corners, 4, 1));
    attributes.set("geometry.poly.startIndex", IntAttribute(starts, 2, 1));
    return GroupAttribute(Children{{"a", attributes.build()}}, true);
}

GroupAttribute DescribeGroup(const Children& children) {
    GroupBuilder attributes;
    attributes.set("type", StringAttribute("group"));
    return GroupAttribute(
        Children{{"a", attributes.build()}, {"c", GroupAttribute(children, true)}}, true);
}

/// A hundred groups of a hundred leaves.
GroupAttribute DescribeTenThousand() {
    Children groups;
    for (int group = 0; group < kWidth; ++group) {
        Children leaves;
        for (int i = 0; i < kWidth; ++i)
            leaves.emplace_back("leaf_" + std::to_string(i), DescribeLeaf(group * kWidth + i));
        groups.emplace_back("g_" + std::to_string(group), DescribeGroup(leaves));
    }
    return DescribeGroup(groups);
}

GroupAttribute DescribeScene() {
    const GroupAttribute tenThousand = DescribeTenThousand();
    Children outer;
    for (int i = 0; i < kCopies / kWidth; ++i) {
        Children inner;
        for (int j = 0; j < kWidth; ++j)
            inner.emplace_back("h_" + std::to_string(j), tenThousand);
        outer.emplace_back("i_" + std::to_string(i), DescribeGroup(inner));
    }
    const GroupAttribute root = DescribeGroup({{"world", DescribeGroup(outer)}});
    GroupBuilder description;
    description.set("scene.opType", StringAttribute("StaticScene"));
    description.set("scene.opArgs", root);
    return description.build();
}

long PeakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss * 1024;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    try {
        const GroupAttribute scene = DescribeScene();
        const long before = PeakBytes();
        const std::clock_t start = std::clock();
        WriteOpFile(argv[1], scene);
        const auto ticks = static_cast<double>(std::clock() - start);
        std::printf("{\"bytesBefore\": %ld, \"bytesAtMost\": %ld, \"seconds\": %.3f}\n", before,
                    PeakBytes(), ticks / CLOCKS_PER_SEC);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
