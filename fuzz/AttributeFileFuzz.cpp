// Reads any bytes as an attribute file or an op file.
//
// Hardly any input has valid checksums. The bytes are therefore read a second time inside of a
// valid header, checksums and footer, which tests the reading of the structure. Whatever is
// accepted must be a valid attribute, and two files are compared with each other.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeDifference.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "Check.h"
#include "ContainerBytes.h"

using namespace OxAttribute;

namespace {

// Groups may share values, so visiting all values of a file can take quadratic time in its size.
// The walk stops at this limit.
constexpr std::uint64_t kMaximumWork = 20'000'000;

class Walk {
public:
    /// Returns false if the limit of visits is exceeded.
    bool visit(const Attribute& value) {
        work +=
            1 + static_cast<std::uint64_t>(DataAttribute(IntAttribute(value)).getNumberOfValues());
        work += static_cast<std::uint64_t>(FloatAttribute(value).getNumberOfValues());
        work += static_cast<std::uint64_t>(DoubleAttribute(value).getNumberOfValues());
        for (const std::string_view text : StringAttribute(value).getNearestSample(0.0f))
            work += text.size();
        const GroupAttribute group(value);
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const std::string_view name = group.getChildNameView(i);
            Check(group.findChild(name) == i, "every child is found by its name");
            work += name.size();
            if (work > kMaximumWork || !visit(group.getChildByIndex(i))) return false;
        }
        return work <= kMaximumWork;
    }

private:
    std::uint64_t work = 0;
};

void UseAttribute(const std::string& file) {
    const Attribute value = ContainerBytes::Read(file);
    if (!Walk().visit(value) || !value.isValid()) return;
    const Attribute again = ContainerBytes::Read(ContainerBytes::Write(value));
    Check(again == value, "a value comes back from a file");
    Check(ParseAttributeXml(value.getXML()) == value, "a value comes back from XML");
}

void UseOpTree(const std::string& file) {
    std::string_view rest = file;
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto op = transaction->deserializeOps(&rest, &ContainerBytes::ReadSome);
    const auto client = transaction->createClient();
    transaction->setClientOp(client, op);
    runtime->commit(transaction);
    client->cookLocation("/root");
}

template <typename Use>
void Try(Use use) {
    try {
        use();
    } catch (const std::runtime_error&) {
        // the expected error for a damaged file
    }
}

/// A valid file around the bytes, which are its header and values. The last 56 bytes, read as a
/// footer, give the positions of the root and of the shapes.
std::string Framed(std::string bytes, ContainerKind kind) {
    const ContainerFooter footer = ContainerBytes::FooterOf(bytes);
    bytes.resize(bytes.size() - sizeof(ContainerFooter));
    const std::size_t blocks = (bytes.size() + kBlockBytes - 1) / kBlockBytes;
    bytes.resize(bytes.size() - std::min(blocks * 8, bytes.size() - sizeof(ContainerHeader)));
    ContainerHeader header{};
    std::memcpy(header.magic, kContainerMagic, sizeof header.magic);
    header.version = kContainerVersion;
    header.kind = static_cast<std::uint32_t>(kind);
    ContainerBytes::SetValueAt(bytes, 0, header);
    return ContainerBytes::WithFrame(std::move(bytes), footer.rootUnit, footer.shapesUnit,
                                     footer.shapeCount);
}

/// Compares a file with others that have one other byte among the values. Only the first of two
/// files is checked when they are compared.
void CompareFiles(const std::string& file) {
    constexpr std::size_t kOthers = 16;
    constexpr std::size_t kStep = 7919; // any number without small factors
    const GroupAttribute value(ContainerBytes::Read(file));
    if (!value.isValid() || !Walk().visit(value)) return;
    const std::size_t places = file.size() - sizeof(ContainerHeader) - sizeof(ContainerFooter);
    for (std::size_t i = 1; i <= kOthers; ++i) {
        std::string other = file;
        other[sizeof(ContainerHeader) + i * kStep % places] ^= static_cast<char>(1u << i % 8);
        Try([&] {
            const GroupAttribute changed(
                ContainerBytes::Read(Framed(other, ContainerKind::AttributeStream)));
            bool isDifferent = false;
            ForEachDifference(value, changed, [&](const auto&) { isDifferent = true; });
            if (!Walk().visit(changed)) return;
            Check(isDifferent == (value != changed), "a difference between two files is found");
        });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Try([&] { UseAttribute(bytes); });
    if (size < sizeof(ContainerHeader) + sizeof(ContainerFooter)) return 0;
    Try([&] { UseAttribute(Framed(bytes, ContainerKind::AttributeStream)); });
    Try([&] { CompareFiles(Framed(bytes, ContainerKind::AttributeStream)); });
    Try([&] { UseOpTree(Framed(bytes, ContainerKind::OpFile)); });
    return 0;
}
