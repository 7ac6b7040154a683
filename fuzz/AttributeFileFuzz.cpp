// Reads any bytes as an attribute file or an op file.
//
// As they are, hardly any bytes get past the checksums. So they are read a second time with a
// header, checksums and a footer made right around them: then the structure is what is put to the
// test. What is accepted must be a value like any other.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "Check.h"
#include "ContainerBytes.h"

using namespace OxAttribute;

namespace {

// Values may be shared by many groups, so that reading all of a file can take as long as its size
// squared. That much is meant; a group that is found twice would take for ever.
constexpr std::uint64_t kMaximumWork = 20'000'000;

class Walk {
public:
    /// False when there is too much to walk through.
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
        // what a damaged file is answered with
    }
}

/// The bytes as the header and values of a file, with everything around them made right. The root
/// is where the last 48 bytes, as a footer, say it is.
std::string Framed(std::string bytes, ContainerKind kind) {
    const std::uint32_t root = ContainerBytes::FooterOf(bytes).rootUnit;
    bytes.resize(bytes.size() - sizeof(ContainerFooter));
    const std::size_t blocks = (bytes.size() + kBlockBytes - 1) / kBlockBytes;
    bytes.resize(bytes.size() - std::min(blocks * 8, bytes.size() - sizeof(ContainerHeader)));
    ContainerHeader header{};
    std::memcpy(header.magic, kContainerMagic, sizeof header.magic);
    header.version = kContainerVersion;
    header.kind = static_cast<std::uint32_t>(kind);
    ContainerBytes::SetValueAt(bytes, 0, header);
    return ContainerBytes::WithFrame(std::move(bytes), root);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Try([&] { UseAttribute(bytes); });
    if (size < sizeof(ContainerHeader) + sizeof(ContainerFooter)) return 0;
    Try([&] { UseAttribute(Framed(bytes, ContainerKind::AttributeStream)); });
    Try([&] { UseOpTree(Framed(bytes, ContainerKind::OpFile)); });
    return 0;
}
