#ifndef OXTELLARSDK_TESTS_CONTAINERBYTES_H
#define OXTELLARSDK_TESTS_CONTAINERBYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <xxhash.h>

#include <OxTellarSDK/Attribute.h>

#include "Container.h"

/// Attribute files as byte strings. Tests change bytes and correct the checksums, so that the
/// reader gets past the checksums to the change.
namespace ContainerBytes {

using OxAttribute::ContainerFooter;
using OxAttribute::ContainerHeader;
using OxAttribute::ContainerKind;
using OxAttribute::kBlockBytes;

inline std::string Write(const OxAttribute::Attribute& attribute) {
    std::string bytes;
    attribute.writeAttributeStream(&bytes, [](void* stream, const void* data, std::int64_t count) {
        static_cast<std::string*>(stream)->append(static_cast<const char*>(data),
                                                  static_cast<std::size_t>(count));
        return count;
    });
    return bytes;
}

/// A StreamRead over a std::string_view*, which it shortens.
inline std::int64_t ReadSome(void* stream, void* buffer, std::int64_t count) {
    auto& rest = *static_cast<std::string_view*>(stream);
    const std::size_t taken = std::min(rest.size(), static_cast<std::size_t>(count));
    std::memcpy(buffer, rest.data(), taken);
    rest.remove_prefix(taken);
    return static_cast<std::int64_t>(taken);
}

inline OxAttribute::Attribute Read(std::string_view bytes) {
    return OxAttribute::Attribute::readAttributeStream(&bytes, &ReadSome, 0);
}

inline ContainerFooter FooterOf(const std::string& file) {
    ContainerFooter footer;
    std::memcpy(&footer, file.data() + file.size() - sizeof footer, sizeof footer);
    return footer;
}

inline ContainerHeader HeaderOf(const std::string& file) {
    ContainerHeader header;
    std::memcpy(&header, file.data(), sizeof header);
    return header;
}

template <typename T>
T ValueAt(const std::string& file, std::size_t offset) {
    T value;
    std::memcpy(&value, file.data() + offset, sizeof value);
    return value;
}

template <typename T>
void SetValueAt(std::string& file, std::size_t offset, T value) {
    std::memcpy(&file[offset], &value, sizeof value);
}

/// Values (header included) with the table and the footer that belong to them. The values are
/// filled up to a multiple of 8 bytes.
inline std::string WithFrame(std::string values, std::uint32_t rootUnit,
                             std::uint32_t shapesUnit = 0, std::uint32_t shapeCount = 0) {
    values.resize((values.size() + 7) / 8 * 8);
    ContainerFooter footer{};
    footer.tableOffset = values.size();
    std::string table;
    for (std::size_t begin = 0; begin < values.size(); begin += kBlockBytes) {
        const std::size_t bytes = std::min<std::size_t>(kBlockBytes, values.size() - begin);
        const std::uint64_t sum = XXH3_64bits(values.data() + begin, bytes);
        table.append(reinterpret_cast<const char*>(&sum), sizeof sum);
    }
    footer.fileBytes = values.size() + table.size() + sizeof footer;
    footer.rootUnit = rootUnit;
    footer.shapesUnit = shapesUnit;
    footer.shapeCount = shapeCount;
    footer.tableChecksum = XXH3_64bits(table.data(), table.size());
    std::memcpy(footer.magic, OxAttribute::kContainerEndMagic, sizeof footer.magic);
    footer.footerChecksum = XXH3_64bits(&footer, offsetof(ContainerFooter, footerChecksum));
    return values + table + std::string(reinterpret_cast<const char*>(&footer), sizeof footer);
}

/// The file with correct checksums after its values were changed.
inline std::string Repaired(const std::string& file) {
    const ContainerFooter footer = FooterOf(file);
    return WithFrame(file.substr(0, footer.tableOffset), footer.rootUnit, footer.shapesUnit,
                     footer.shapeCount);
}

/// The file with a footer changed by `change`, and the footer's checksum corrected.
template <typename Change>
std::string WithFooter(std::string file, Change change) {
    ContainerFooter footer = FooterOf(file);
    change(footer);
    footer.footerChecksum = XXH3_64bits(&footer, offsetof(ContainerFooter, footerChecksum));
    SetValueAt(file, file.size() - sizeof footer, footer);
    return file;
}

inline std::string WithKind(std::string file, std::uint32_t kind) {
    SetValueAt(file, offsetof(ContainerHeader, kind), kind);
    return Repaired(file);
}

inline std::string WithVersion(std::string file, std::uint32_t version) {
    SetValueAt(file, offsetof(ContainerHeader, version), version);
    return Repaired(file);
}

} // namespace ContainerBytes

#endif
