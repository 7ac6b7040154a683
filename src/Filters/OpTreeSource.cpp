#include <OxTellarProducers/OpTreeSource.h>

#include <exception>
#include <filesystem>
#include <map>
#include <system_error>
#include <type_traits>
#include <vector>

#include <OxTellarSDK/FileStream.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Op = std::shared_ptr<TellarRuntime::Op>;
using Transaction = std::shared_ptr<TellarRuntime::Transaction>;

/// Whether transactions can name Ops. Those of a platform that stands in for ours may not.
template <typename T, typename = void>
constexpr bool kHasOpNames = false;
template <typename T>
constexpr bool kHasOpNames<T, std::void_t<decltype(&T::setOpName)>> = true;

/// Gives the Op its name in the description, which messages about its errors then contain.
template <typename T>
void NameOp([[maybe_unused]] T& transaction, [[maybe_unused]] const Op& op,
            [[maybe_unused]] const std::string& name) {
    if constexpr (kHasOpNames<T>) transaction.setOpName(op, name);
}

std::vector<Op> FindInputs(const GroupAttribute& entry, std::map<std::string, Op>& opsByName) {
    std::vector<Op> inputs;
    const StringAttribute names(entry.getChildByName("opInputs"));
    if (!names.isValid()) return inputs;
    for (const auto name : names.getNearestSample(0.0f))
        inputs.push_back(opsByName[std::string(name)]); // null for an unknown name
    return inputs;
}

/// A range hash as Boost once computed it. Written out, because newer releases give other values.
std::uint64_t HashCharacters(const std::string& text) {
    constexpr std::uint64_t kMultiplier = 0xc6a4a7935bd1e995ull;
    constexpr std::uint64_t kIncrement = 0xe6546b64ull;
    std::uint64_t hash = 0;
    for (const char character : text) {
        const std::int64_t byte = static_cast<unsigned char>(character);
        auto key = static_cast<std::uint64_t>(byte < 0x80 ? byte : byte - 0x100); // sign-extended
        key *= kMultiplier;
        key ^= key >> 47;
        key *= kMultiplier;
        hash ^= key;
        hash *= kMultiplier;
        hash += kIncrement;
    }
    return hash;
}

} // namespace

AbstractOpTreeSource::~AbstractOpTreeSource() = default;

OpTreeSource::OpTreeSource(AbstractOpTreeSource* owned) : source(owned), owner(owned) {}
OpTreeSource::OpTreeSource(const OpTreeSource& other) = default;
OpTreeSource& OpTreeSource::operator=(const OpTreeSource& other) = default;
OpTreeSource::~OpTreeSource() = default;

OpTreeSource OpTreeSource::createFromFile(const std::string& filename) {
    return OpTreeSource(new OpTreeFileSource(filename));
}

OpTreeSource OpTreeSource::createFromGroupAttribute(const GroupAttribute& description) {
    return OpTreeSource(new OpTreeAttributeSource(description));
}

bool OpTreeSource::operator<(const OpTreeSource& other) const {
    return source->getHash() < other.source->getHash();
}

std::string OpTreeSource::describe() const {
    return source->describe();
}

Op OpTreeSource::getOp(const Transaction& transaction) const {
    return source->getOp(transaction);
}

bool OpTreeSource::isValid(std::string* error) const {
    return source->isValid(error);
}

OpTreeFileSource::OpTreeFileSource(const std::string& path)
    : AbstractOpTreeSource(HashCharacters(path)), filename(path) {}

bool OpTreeFileSource::isValid(std::string* error) const {
    if (filename.empty()) {
        if (error) *error = "Empty filename provided.";
        return false;
    }
    std::error_code ignored;
    if (std::filesystem::exists(filename, ignored)) return true;
    if (error) *error = "File \"" + filename + "\" does not exist.";
    return false;
}

Op OpTreeFileSource::getOp(const Transaction& transaction) const {
    if (filename.empty()) return nullptr;
    try {
        FileStream stream(filename, true);
        return transaction->deserializeOps(&stream, &FileStream::read);
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::string OpTreeFileSource::describe() const {
    return filename;
}

OpTreeAttributeSource::OpTreeAttributeSource(const GroupAttribute& opTreeDescription)
    : AbstractOpTreeSource(opTreeDescription.getHash().uint64()), description(opTreeDescription) {}

bool OpTreeAttributeSource::isValid(std::string* error) const {
    if (description.isValid()) return true;
    if (error) *error = "Invalid GroupAttribute provided.";
    return false;
}

Op OpTreeAttributeSource::getOp(const Transaction& transaction) const {
    if (!description.isValid()) return nullptr;
    std::vector<Op> ops;
    std::map<std::string, Op> opsByName;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const std::string name = description.getChildName(i);
        const GroupAttribute entry(description.getChildByIndex(i));
        if (!entry.isValid()) return nullptr;
        const Op op = transaction->createOp();
        transaction->setOpArgs(op,
                               StringAttribute(entry.getChildByName("opType")).getValue("", false),
                               GroupAttribute(entry.getChildByName("opArgs")));
        NameOp(*transaction, op, name);
        opsByName[name] = op;
        ops.push_back(op);
    }
    if (ops.empty()) return nullptr;

    // Inputs are set when all Ops exist, because an Op may name a later one.
    for (std::size_t i = 0; i < ops.size(); ++i) {
        const GroupAttribute entry(description.getChildByIndex(static_cast<std::int64_t>(i)));
        transaction->setOpInputs(ops[i], FindInputs(entry, opsByName));
    }
    return ops.back();
}

std::string OpTreeAttributeSource::describe() const {
    return "GroupAttribute";
}

} // namespace TELLAR
