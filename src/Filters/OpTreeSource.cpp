#include <OxTellarProducers/OpTreeSource.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include <OxTellarSDK/FileStream.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Op = std::shared_ptr<TellarRuntime::Op>;
using Transaction = std::shared_ptr<TellarRuntime::Transaction>;

/// Assigns the reason, unless `error` is null. Returns false.
bool Refuse(std::string* error, const std::string& reason) {
    if (error) *error = reason;
    return false;
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

/// Without places, the first word of the description's hash.
std::uint64_t IdentityOf(const GroupAttribute& description, const OpPlaces& places) {
    if (places.empty()) return description.getHash().uint64();
    std::vector<GroupAttribute::Child> parts;
    for (const auto& [op, place] : places)
        parts.emplace_back(op, StringAttribute(place));
    std::sort(parts.begin(), parts.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    return GroupAttribute({{"ops", description}, {"places", GroupAttribute(parts, true)}}, true)
        .getHash()
        .uint64();
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

OpTreeSource OpTreeSource::createFromGroupAttribute(const GroupAttribute& description,
                                                    const OpPlaces& places) {
    return OpTreeSource(new OpTreeAttributeSource(description, places));
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
    if (filename.empty()) return Refuse(error, "Empty filename provided.");
    std::error_code ignored;
    return std::filesystem::exists(filename, ignored) ||
           Refuse(error, "File \"" + filename + "\" does not exist.");
}

Op OpTreeFileSource::getOp(const Transaction& transaction) const {
    if (filename.empty()) return nullptr;
    try {
        FileStream stream(filename, true);
        return transaction->deserializeOps(stream);
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::string OpTreeFileSource::describe() const {
    return filename;
}

OpTreeAttributeSource::OpTreeAttributeSource(const GroupAttribute& opTreeDescription)
    : OpTreeAttributeSource(opTreeDescription, OpPlaces()) {}

OpTreeAttributeSource::OpTreeAttributeSource(const GroupAttribute& opTreeDescription,
                                             const OpPlaces& places)
    : AbstractOpTreeSource(IdentityOf(opTreeDescription, places)), description(opTreeDescription),
      places(places) {}

bool OpTreeAttributeSource::isValid(std::string* error) const {
    return description.isValid() || Refuse(error, "Invalid GroupAttribute provided.");
}

Op OpTreeAttributeSource::getOp(const Transaction& transaction) const {
    std::vector<Op> ops;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(description.getChildByIndex(i));
        if (!entry.isValid()) return nullptr;
        ops.push_back(transaction->createOp());
        transaction->setOpArgs(ops.back(),
                               StringAttribute(entry.getChildByName("opType")).getValue("", false),
                               GroupAttribute(entry.getChildByName("opArgs")));
        const std::string name = description.getChildName(i);
        transaction->setOpName(ops.back(), name);
        const auto place = places.find(name);
        if (place != places.end()) transaction->setOpPlace(ops.back(), place->second);
    }
    // Inputs are set when all Ops exist, because an Op may name a later one.
    for (std::size_t i = 0; i < ops.size(); ++i) {
        const GroupAttribute entry(description.getChildByIndex(static_cast<std::int64_t>(i)));
        const StringAttribute names(entry.getChildByName("opInputs"));
        std::vector<Op> inputs;
        for (const std::string_view name : names.getNearestSample(0.0f)) {
            const std::int64_t input = description.findChild(name);
            inputs.push_back(input < 0 ? nullptr : ops[static_cast<std::size_t>(input)]);
        }
        transaction->setOpInputs(ops[i], inputs);
    }
    return ops.empty() ? nullptr : ops.back();
}

std::string OpTreeAttributeSource::describe() const {
    return "GroupAttribute";
}

} // namespace TELLAR
