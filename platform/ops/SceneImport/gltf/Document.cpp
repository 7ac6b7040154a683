#include "Document.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "TinyGltf.h"
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "Container.h"
#include "DocumentCheck.h"
#include "DracoMesh.h"
#include "ExtensionValues.h"
#include "Extensions.h"
#include "GltfError.h"
#include "Meshopt.h"
#include "ReferencedFile.h"
#include "SourceFile.h"
#include "Uri.h"
#include "isolation/ReaderProcess.h"

namespace TellarSceneImport {

// Fills a document. The library gets a JSON text without the parts that it would act upon or
// refuse: buffers and images, which it would open and decode; strides, of which it accepts few;
// and indices of primitives, which it does not accept for compressed ones. The loader adds them to
// the model itself.
class Document::Loader {
public:
    Loader(Document& document, std::vector<FileStamp>& files) : document(document), files(files) {}

    void load();

private:
    void parseJson(std::string_view text);
    void checkVersion() const;
    void loadBuffers(std::string_view binary);
    std::string_view loadBuffer(const Json& buffer, std::string_view binary, bool isFirst);
    std::string_view bytesOfUri(const std::string& uri);
    std::string_view bytesOfFile(const std::string& uri);
    void parseModel();
    void restoreStridesAndIndices();
    std::string takeModelText();
    void takeStrides();
    void takeIndices();
    void addImages();
    void addImage(const Json& source);
    std::string_view compressedBuffer(const Json& extension) const;
    void decodeMeshopt();
    void decodeDraco();
    void decodeDraco(tinygltf::Primitive& primitive, const tinygltf::Value& extension);
    void decodeAttributes(tinygltf::Primitive& primitive, const tinygltf::Value& identifiers,
                          const DracoMesh& mesh);
    int addBuffer(std::string bytes);
    int addView(std::string bytes);
    int addAccessor(tinygltf::Accessor accessor, std::string bytes, std::size_t count);
    template <typename Body>
    void forEachPrimitive(Body body);

    Document& document;
    std::vector<FileStamp>& files;
    rapidjson::Document json;
    std::vector<std::size_t> strides; // strides of buffer views
    std::vector<int> indices;         // accessors of indices of all primitives, mesh by mesh
    Json images;                      // may be null
    std::size_t numberOfFileBuffers = 0;
};

namespace {

// The size of the largest element of a compressed attribute, a matrix of 16 floats.
constexpr std::size_t kMostBytesOfElement = 64;

Json* MutableMember(Json& object, const char* name) {
    const auto found = object.FindMember(name);
    return found == object.MemberEnd() ? nullptr : &found->value;
}

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

void Document::Loader::parseJson(std::string_view text) {
    constexpr unsigned kFlags = rapidjson::kParseFullPrecisionFlag |
                                rapidjson::kParseIterativeFlag |
                                rapidjson::kParseValidateEncodingFlag;
    json.Parse<kFlags>(text.data(), text.size());
    if (json.HasParseError())
        GltfError(std::string(rapidjson::GetParseError_En(json.GetParseError())) + " At byte " +
                  std::to_string(json.GetErrorOffset()) + ".");
    if (!json.IsObject()) GltfError("its JSON is no object");
}

void Document::Loader::checkVersion() const {
    const std::string version = TextMember(Member(&json, "asset"), "version");
    if (version.empty()) GltfError("it does not say which version of glTF it is");
    if (version != "2" && version.substr(0, 2) != "2.")
        throw std::runtime_error("it is glTF " + version + "; only glTF 2 is supported");
}

std::string_view Document::Loader::bytesOfUri(const std::string& uri) {
    if (IsDataUri(uri)) {
        auto data = DecodeDataUri(uri);
        if (!data) GltfError("a buffer has a damaged data URI");
        return document.owned.emplace_back(std::move(data->bytes));
    }
    return bytesOfFile(uri);
}

std::string_view Document::Loader::bytesOfFile(const std::string& uri) {
    const std::string path = document.pathOf(uri);
    files.push_back(StampOf(path));
    const FileStamp stamp = files.back();
    const auto fail = [&](const std::string& reason) {
        throw std::runtime_error("its buffer \"" + uri + "\": " + reason);
    };
    if (stamp.kind == std::filesystem::file_type::not_found) fail("there is no such file");
    if (!stamp.isRegularFile()) fail("it is not a regular file");
    try {
        return document.owned.emplace_back(ReadWhole(stamp));
    } catch (const std::runtime_error& error) {
        fail(error.what());
    }
    return {};
}

// A buffer without data is allowed as a place for views that are compressed elsewhere: it is empty
// here, so that views without compression are refused.
std::string_view Document::Loader::loadBuffer(const Json& buffer, std::string_view binary,
                                              bool isFirst) {
    const std::string uri = TextMember(&buffer, "uri");
    const std::string_view bytes = !uri.empty() ? bytesOfUri(uri) : isFirst ? binary : "";
    const std::uint64_t length = Member(&buffer, "byteLength")->GetUint64();
    if (!bytes.empty() && bytes.size() < length) GltfError("a buffer is shorter than its length");
    return bytes.substr(0, length);
}

void Document::Loader::loadBuffers(std::string_view binary) {
    const Json* list = ArrayMember(&json, "buffers");
    for (rapidjson::SizeType i = 0; i < SizeOf(list); ++i)
        document.buffers.push_back(loadBuffer((*list)[i], binary, i == 0));
}

template <typename Body>
void Document::Loader::forEachPrimitive(Body body) {
    if (Json* meshes = MutableMember(json, "meshes"))
        for (Json& mesh : meshes->GetArray())
            if (Json* primitives = MutableMember(mesh, "primitives"))
                for (Json& primitive : primitives->GetArray())
                    body(primitive);
}

void Document::Loader::takeStrides() {
    if (Json* views = MutableMember(json, "bufferViews"))
        for (Json& view : views->GetArray()) {
            const Json* stride = Member(&view, "byteStride");
            strides.push_back(stride ? stride->GetUint64() : 0);
            view.RemoveMember("byteStride");
        }
}

void Document::Loader::takeIndices() {
    forEachPrimitive([this](Json& primitive) {
        const Json* index = Member(&primitive, "indices");
        indices.push_back(index ? index->GetInt() : -1);
        primitive.RemoveMember("indices");
    });
}

std::string Document::Loader::takeModelText() {
    json.RemoveMember("buffers");
    if (Json* list = MutableMember(json, "images")) images = std::move(*list);
    json.RemoveMember("images");
    takeStrides();
    takeIndices();
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer(text);
    if (!json.Accept(writer)) GltfError("its JSON holds a number that is not finite");
    return std::string(text.GetString(), text.GetSize());
}

void Document::Loader::parseModel() {
    const std::string text = takeModelText();
    if (text.size() > std::numeric_limits<int>::max()) GltfError("its JSON is too large");
    tinygltf::Model& model = *document.parsed;
    std::string error, warning;
    bool isLoaded = false;
    try {
        isLoaded = tinygltf::TinyGLTF().LoadASCIIFromString(&model, &error, &warning, text.data(),
                                                            static_cast<unsigned>(text.size()), "");
    } catch (const std::exception& exception) {
        error = exception.what();
    }
    if (!isLoaded) GltfError(error.empty() ? "it cannot be understood" : FirstLine(error));
    restoreStridesAndIndices();
}

// Restores the values that takeModelText() removed from the model.
void Document::Loader::restoreStridesAndIndices() {
    tinygltf::Model& model = *document.parsed;
    for (std::size_t i = 0; i < strides.size(); ++i)
        model.bufferViews.at(i).byteStride = strides[i];
    auto index = indices.begin();
    for (tinygltf::Mesh& mesh : model.meshes)
        for (tinygltf::Primitive& primitive : mesh.primitives)
            primitive.indices = index != indices.end() ? *index++ : -1;
}

int Document::Loader::addBuffer(std::string bytes) {
    document.buffers.push_back(document.owned.emplace_back(std::move(bytes)));
    return static_cast<int>(document.buffers.size()) - 1;
}

int Document::Loader::addView(std::string bytes) {
    tinygltf::BufferView& view = document.parsed->bufferViews.emplace_back();
    view.byteLength = bytes.size();
    view.buffer = addBuffer(std::move(bytes));
    return static_cast<int>(document.parsed->bufferViews.size()) - 1;
}

// `accessor` describes the bytes.
int Document::Loader::addAccessor(tinygltf::Accessor accessor, std::string bytes,
                                  std::size_t count) {
    accessor.bufferView = addView(std::move(bytes));
    accessor.byteOffset = 0;
    accessor.count = count;
    accessor.sparse.isSparse = false;
    document.parsed->accessors.push_back(std::move(accessor));
    return static_cast<int>(document.parsed->accessors.size()) - 1;
}

std::string_view Document::Loader::compressedBuffer(const Json& extension) const {
    const Json* index = Member(&extension, "buffer");
    if (!index || !index->IsUint() || index->GetUint() >= numberOfFileBuffers)
        GltfError("a compressed buffer view has no buffer");
    return document.buffers[index->GetUint()];
}

// Compressed views become views of decoded buffers.
void Document::Loader::decodeMeshopt() {
    const Json* views = ArrayMember(&json, "bufferViews");
    for (rapidjson::SizeType i = 0; i < SizeOf(views); ++i) {
        const Json* extension = MeshoptOf((*views)[i]);
        if (!extension) continue;
        std::string bytes =
            DecodeMeshopt(*extension, compressedBuffer(*extension), *document.budget);
        tinygltf::BufferView& view = document.parsed->bufferViews.at(i);
        view.byteOffset = 0;
        view.byteLength = bytes.size();
        view.byteStride = MeshoptStride(*extension);
        view.buffer = addBuffer(std::move(bytes));
    }
}

// The attributes and indices of compressed primitives become ordinary accessors.
void Document::Loader::decodeDraco() {
    for (tinygltf::Mesh& mesh : document.parsed->meshes)
        for (tinygltf::Primitive& primitive : mesh.primitives) {
            const auto found = primitive.extensions.find("KHR_draco_mesh_compression");
            if (found != primitive.extensions.end()) decodeDraco(primitive, found->second);
        }
}

void Document::Loader::decodeDraco(tinygltf::Primitive& primitive,
                                   const tinygltf::Value& extension) {
    const int view = IndexOf(extension, "bufferView");
    if (view < 0 || static_cast<std::size_t>(view) >= document.parsed->bufferViews.size())
        GltfError("a compressed mesh has no buffer view");
    const DracoMesh mesh(document.viewBytes(view));
    document.budget->take(mesh.numberOfTriangles(), 3 * sizeof(std::uint32_t));
    tinygltf::Accessor indexType;
    indexType.componentType = TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT;
    indexType.type = TINYGLTF_TYPE_SCALAR;
    primitive.indices = addAccessor(indexType, mesh.indices(), mesh.numberOfTriangles() * 3);
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    if (!extension.Has("attributes")) GltfError("a compressed mesh has no attributes");
    decodeAttributes(primitive, extension.Get("attributes"), mesh);
}

// `identifiers` maps names of attributes to their numbers in the compressed mesh.
void Document::Loader::decodeAttributes(tinygltf::Primitive& primitive,
                                        const tinygltf::Value& identifiers, const DracoMesh& mesh) {
    for (auto& [name, accessor] : primitive.attributes) {
        if (!identifiers.Has(name)) continue;
        const tinygltf::Accessor type = document.parsed->accessors[accessor];
        const int id = IndexOf(identifiers, name.c_str());
        document.budget->take(mesh.numberOfPoints(), kMostBytesOfElement);
        const int components =
            tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(type.type));
        accessor = addAccessor(
            type, mesh.attribute(static_cast<unsigned>(id), type.componentType, components),
            mesh.numberOfPoints());
    }
}

void Document::Loader::addImages() {
    for (rapidjson::SizeType i = 0; images.IsArray() && i < images.Size(); ++i)
        addImage(images[i]);
}

// Adds an image. The bytes of a data URI become a buffer view.
void Document::Loader::addImage(const Json& source) {
    tinygltf::Image& image = document.parsed->images.emplace_back();
    image.name = TextMember(&source, "name");
    image.mimeType = TextMember(&source, "mimeType");
    const std::string uri = TextMember(&source, "uri");
    if (!IsDataUri(uri)) {
        image.uri = uri;
        if (const Json* view = Member(&source, "bufferView")) image.bufferView = view->GetInt();
        return;
    }
    auto data = DecodeDataUri(uri);
    if (!data) GltfError("an image has a damaged data URI");
    if (image.mimeType.empty()) image.mimeType = data->mimeType;
    image.bufferView = addView(std::move(data->bytes));
}

void Document::Loader::load() {
    const GltfParts parts = SplitGltf(document.content);
    parseJson(parts.json);
    checkVersion();
    document.unknown = CheckExtensions(json);
    CheckGltf(json, kMaxNodeDepth);
    loadBuffers(parts.binary);
    numberOfFileBuffers = document.buffers.size();
    parseModel();
    decodeMeshopt();
    decodeDraco();
    addImages();
}

Document::Document(std::string source, const std::string& path, std::vector<FileStamp>& files)
    : content(std::move(source)), folder(std::filesystem::path(path).parent_path().string()),
      parsed(std::make_unique<tinygltf::Model>()),
      budget(std::make_unique<MemoryBudget>(ConfiguredLimits().mebibytes)) {
    Loader(*this, files).load();
}

Document::~Document() = default;

std::string_view Document::viewBytes(int index) const {
    const tinygltf::BufferView& view = parsed->bufferViews.at(index);
    const std::string_view buffer = buffers.at(view.buffer);
    if (view.byteOffset > buffer.size() || view.byteLength > buffer.size() - view.byteOffset)
        GltfError("buffer view " + std::to_string(index) + " goes beyond its buffer");
    return buffer.substr(view.byteOffset, view.byteLength);
}

std::string_view Document::imageBytes(int image) const {
    const int view = parsed->images.at(image).bufferView;
    return view < 0 ? std::string_view() : viewBytes(view);
}

// Tries the URI undecoded too, because some exporters do not percent-encode names.
std::string Document::pathOf(const std::string& uri) const {
    const std::string decoded = PercentDecoded(uri);
    std::error_code ignored;
    for (const std::string& name : {decoded, uri}) {
        std::string path = PathOfReference(folder, name);
        if (std::filesystem::exists(path, ignored)) return path;
    }
    for (const std::string& name : {decoded, uri})
        if (std::string found = FindReferencedFile(folder, name); !found.empty()) return found;
    return PathOfReference(folder, decoded);
}

} // namespace TellarSceneImport
