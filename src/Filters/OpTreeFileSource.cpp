#include <OxTellarProducers/OpTreeSource.h>

#include <exception>

#include <OxTellarSDK/FileStream.h>

#include "PathExists.h"

namespace TELLAR {

namespace {

// The 64-bit range hash that op files have always been told apart by. Written out, because the
// library function of that name has changed its values over time.
std::uint64_t HashCharacters(const std::string& text) {
    constexpr std::uint64_t kMultiplier = 0xc6a4a7935bd1e995ull;
    constexpr std::uint64_t kIncrement = 0xe6546b64ull;
    std::uint64_t hash = 0;
    for (const char character : text) {
        // Sign-extended: bytes above 0x7f count as large values.
        auto key = static_cast<std::uint64_t>(
            static_cast<std::int64_t>(static_cast<signed char>(character)));
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

OpTreeFileSource::OpTreeFileSource(const std::string& path)
    : AbstractOpTreeSource(HashCharacters(path)), filename(path) {}

bool OpTreeFileSource::isValid(std::string* error) const {
    if (filename.empty()) {
        if (error) *error = "Empty filename provided.";
        return false;
    }
    if (PathExists(filename)) return true;
    if (error) *error = "File \"" + filename + "\" does not exist.";
    return false;
}

std::shared_ptr<TellarRuntime::Op>
OpTreeFileSource::getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const {
    if (filename.empty()) return nullptr;
    try {
        OxAttribute::FileStream stream(filename, true);
        return transaction->deserializeOps(&stream, &OxAttribute::FileStream::read);
    } catch (const std::exception&) {
        return nullptr;
    }
}

std::string OpTreeFileSource::describe() const {
    return filename;
}

} // namespace TELLAR
