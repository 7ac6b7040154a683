#include <OxTellarSDK/AttributeStream.h>

#include <cstring>
#include <optional>
#include <stdexcept>

#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "CompressedWriter.h"
#include "Container.h"
#include "ContainerWriter.h"
#include "NamingFile.h"
#include "OpDescription.h"
#include "files/ReplacingFile.h"

namespace OxAttribute {

namespace {

/// Writes a file, compressed if asked to.
class FileWriter {
public:
    FileWriter(const std::string& path, bool compress)
        : path(path), file(path, "Cannot write file \"" + path + '"') {
        if (compress)
            compressor.emplace(
                [this](const void* data, std::size_t bytes) { file.write(data, bytes); });
    }
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    static std::int64_t Write(void* stream, const void* data, std::int64_t bytes) {
        FileWriter& writer = *static_cast<FileWriter*>(stream);
        const auto count = static_cast<std::size_t>(bytes);
        if (writer.compressor)
            writer.compressor->append(data, count);
        else
            writer.file.write(data, count);
        // The values may lie in a mapped file, whose pages were just read.
        OxTellarMemory::RelieveMemory();
        return bytes;
    }

    void commit() {
        if (compressor) compressor->finish();
        file.replace();
    }

private:
    const std::string path;
    TellarInternal::ReplacingFile file;
    std::optional<CompressedWriter> compressor;
};

void WriteFile(const std::string& path, const Attribute& attribute, ContainerKind kind,
               bool compress) {
    NamingFile(path, [&] {
        FileWriter file(path, compress);
        WriteContainer(attribute, kind, &file, &FileWriter::Write, "file \"" + path + '"');
        file.commit();
    });
}

FileKind KindOf(const ContainerHeader& header) {
    if (std::memcmp(header.magic, kContainerMagic, sizeof kContainerMagic) != 0)
        return FileKind::Unknown;
    switch (static_cast<ContainerKind>(header.kind)) {
    case ContainerKind::AttributeStream:
        return FileKind::AttributeStream;
    case ContainerKind::OpFile:
        return FileKind::OpFile;
    }
    return FileKind::Unknown;
}

FileKind ReadKind(FileStream& stream) {
    ContainerHeader header{};
    char* start = reinterpret_cast<char*>(&header);
    std::int64_t filled = 0;
    constexpr std::int64_t wanted = offsetof(ContainerHeader, reserved);
    while (filled < wanted) {
        const std::int64_t got = FileStream::read(&stream, start + filled, wanted - filled);
        if (got <= 0) return FileKind::Unknown;
        filled += got;
    }
    return KindOf(header);
}

/// Returns an error text about an op of the description; empty if the op is valid.
std::string DefectOf(const GroupAttribute& op, const GroupAttribute& description) {
    if (!op.isValid()) return "is no group";
    const StringAttribute type(op.getChildByName("opType"));
    if (!type.isValid() || type.getNumberOfValues() != 1) return "has no \"opType\" string";
    const Attribute args = op.getChildByName("opArgs");
    if (args.isValid() && args.getType() != kAttributeTypeGroup)
        return "has \"opArgs\" that are no group";
    const Attribute inputs = op.getChildByName("opInputs");
    if (inputs.isValid() && inputs.getType() != kAttributeTypeString)
        return "has \"opInputs\" that are no strings";
    for (const std::string_view input : StringAttribute(inputs).getNearestSample(0.0f))
        if (!input.empty() && description.findChild(input) < 0)
            return "has the input \"" + std::string(input) + "\", which is no op";
    return {};
}

[[noreturn]] void RefuseOp(const StreamName& source, const std::string& op,
                           const std::string& defect) {
    ErrorFacts facts;
    facts.code = kOxErrorFile;
    facts.text = source.text + ": the op \"" + op + "\" " + defect;
    facts.op = op;
    facts.file = source.file;
    throw TellarError(std::move(facts));
}

} // namespace

FileKind ProbeFile(const std::string& path) {
    FileStream stream(path, true);
    return ReadKind(stream);
}

FileKind ProbeFile(FileStream& stream) {
    const FileKind kind = ReadKind(stream);
    stream.rewind();
    return kind;
}

void WriteAttributeFile(const std::string& path, const Attribute& attribute, bool compress) {
    WriteFile(path, attribute, ContainerKind::AttributeStream, compress);
}

void CheckOpDescription(const GroupAttribute& description, const StreamName& source) {
    if (!description.isValid() || description.getNumberOfChildren() == 0)
        throw TellarError::OfFile(source.file, source.text + ": there is no op in it");
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute op(description.getChildByIndex(i));
        const std::string defect = DefectOf(op, description);
        if (!defect.empty()) RefuseOp(source, description.getChildName(i), defect);
    }
}

void WriteOpFile(const std::string& path, const GroupAttribute& description, bool compress) {
    CheckOpDescription(description, {"Cannot write op file \"" + path + "\"", path});
    WriteFile(path, description, ContainerKind::OpFile, compress);
}

GroupAttribute ReadOpStream(void* stream, StreamRead read) {
    StreamName name{"the op stream", {}};
    FileBuffer buffer = FileStreamAccess::ReadAll(stream, read, name);
    GroupAttribute description(Container::Open(std::move(buffer), name, ContainerKind::OpFile));
    if (!description.isValid()) throw TellarError::OfFile(name.file, name.text + " holds no group");
    CheckOpDescription(description, name);
    return description;
}

GroupAttribute ReadOpFile(const std::string& path) {
    FileStream stream(path, true);
    return ReadOpFile(stream);
}

GroupAttribute ReadOpFile(FileStream& stream) {
    return ReadOpStream(&stream, &FileStream::read);
}

} // namespace OxAttribute
