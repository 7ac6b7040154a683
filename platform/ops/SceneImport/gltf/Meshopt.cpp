#include "Meshopt.h"

#include <cstdint>

#include <meshoptimizer.h>

#include "GltfError.h"

namespace TellarSceneImport {

namespace {

// The encodings need at least a byte for 64 bytes of vertices, and for a triangle of at most twelve
// bytes. More than this is a lie that would cost memory.
constexpr std::uint64_t kMostBytesPerByte = 256;
constexpr std::uint64_t kMaxSize = std::uint64_t(1) << 40;

[[noreturn]] void Fail(const std::string& what) {
    GltfError("a compressed buffer view " + what);
}

std::uint64_t SizeMember(const Json& extension, const char* name, bool isRequired) {
    const Json* size = Member(&extension, name);
    if (!size && !isRequired) return 0;
    if (!size || !size->IsUint64() || size->GetUint64() > kMaxSize)
        Fail(std::string("has a wrong \"") + name + "\"");
    return size->GetUint64();
}

int DecodeElements(const std::string& mode, std::string& result, std::size_t count,
                   std::size_t stride, std::string_view data) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
    if (mode == "ATTRIBUTES" && stride % 4 == 0 && stride <= 256)
        return meshopt_decodeVertexBuffer(result.data(), count, stride, bytes, data.size());
    const bool isIndexSize = stride == 2 || stride == 4;
    if (mode == "TRIANGLES" && isIndexSize && count % 3 == 0)
        return meshopt_decodeIndexBuffer(result.data(), count, stride, bytes, data.size());
    if (mode == "INDICES" && isIndexSize)
        return meshopt_decodeIndexSequence(result.data(), count, stride, bytes, data.size());
    Fail("has a wrong \"mode\" or \"byteStride\"");
}

void ApplyFilter(const std::string& filter, std::string& result, std::size_t count,
                 std::size_t stride) {
    if (filter.empty() || filter == "NONE") return;
    if (filter == "OCTAHEDRAL" && (stride == 4 || stride == 8))
        meshopt_decodeFilterOct(result.data(), count, stride);
    else if (filter == "QUATERNION" && stride == 8)
        meshopt_decodeFilterQuat(result.data(), count, stride);
    else if (filter == "EXPONENTIAL" && stride % 4 == 0)
        meshopt_decodeFilterExp(result.data(), count, stride);
    else
        Fail("has a wrong \"filter\"");
}

} // namespace

const Json* MeshoptOf(const Json& bufferView) {
    return Member(Member(&bufferView, "extensions"), "EXT_meshopt_compression");
}

std::size_t MeshoptStride(const Json& extension) {
    return SizeMember(extension, "byteStride", true);
}

std::string DecodeMeshopt(const Json& extension, std::string_view source, MemoryBudget& budget) {
    const std::uint64_t offset = SizeMember(extension, "byteOffset", false);
    const std::uint64_t length = SizeMember(extension, "byteLength", true);
    const std::uint64_t count = SizeMember(extension, "count", true);
    const std::uint64_t stride = MeshoptStride(extension);
    if (offset > source.size() || length > source.size() - offset) Fail("goes beyond its buffer");
    if (stride == 0 || count > length * kMostBytesPerByte / stride)
        Fail("says that it has more elements than its data can hold");
    budget.take(count, stride);
    std::string result(count * stride, '\0');
    const std::string mode = TextMember(&extension, "mode");
    const std::string filter = TextMember(&extension, "filter");
    if (DecodeElements(mode, result, count, stride, source.substr(offset, length)) != 0)
        Fail("cannot be decoded");
    if (mode == "ATTRIBUTES") ApplyFilter(filter, result, count, stride);
    return result;
}

} // namespace TellarSceneImport
