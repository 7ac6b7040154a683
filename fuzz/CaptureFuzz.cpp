// Reads any bytes as a capture.
//
// Hardly any input has valid checksums. The bytes are therefore read a second time as the records
// of one block with valid checksums. The answers of an accepted capture must be equal after they
// are written and read again.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include <unistd.h>
#include <xxhash.h>

#include <OxTellarSDK/Capture.h>

#include "Check.h"

namespace {

using OxCapture::Reader;

constexpr std::string_view kQuestions[] = {"location", "subtree", "instances",
                                           "render",   "file",    "q"};

/// A file of this process that is written again for each input.
std::string FilePath() {
    static const std::string path = "/tmp/capture-fuzz-" + std::to_string(getpid()) + ".oxcap";
    static const int registered = std::atexit([] { std::remove(FilePath().c_str()); });
    static_cast<void>(registered);
    return path;
}

void UseLocation(const Reader& capture, const std::string& path) {
    try {
        capture.findLocation(path);
    } catch (const std::runtime_error&) {
        // the recorded error of a location
    }
    capture.findSubtree(path);
    const auto instances = capture.findInstances(path);
    if (!instances || instances->count() == 0) return;
    std::int64_t prototype = -1;
    double matrix[16];
    instances->read(instances->count() - 1, instances->count(), &prototype, matrix);
    Check(prototype >= 0 && std::size_t(prototype) < instances->prototypes().size(),
          "an instance has a prototype");
}

void Use(const std::string& bytes) {
    const auto capture = Reader::Parse(bytes, "input");
    OxCapture::Writer writer(FilePath());
    for (const std::string_view question : kQuestions) {
        for (const std::string& key : capture->getKeys(question)) {
            writer.add(question, key, *capture->find(question, key));
            UseLocation(*capture, key);
        }
    }
    writer.finish();
    const auto again = Reader::Open(FilePath());
    Check(again->isComplete(), "a written capture is complete");
    for (const std::string_view question : kQuestions)
        for (const std::string& key : capture->getKeys(question))
            Check(again->find(question, key) == capture->find(question, key),
                  "an answer comes back from a file");
}

template <typename T>
void Append(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// A capture of one block with these records.
std::string Framed(std::string_view records) {
    std::string bytes("OxCapt\x1a\n\x01\0\0\0\0\0\0\0", 16);
    Append(bytes, std::uint64_t(XXH3_64bits(records.data(), records.size())));
    Append(bytes, static_cast<std::uint32_t>(records.size()));
    Append(bytes, static_cast<std::uint32_t>(XXH3_64bits(bytes.data() + 16, 12)));
    return bytes.append(records);
}

void Try(const std::string& bytes) {
    try {
        Use(bytes);
    } catch (const std::runtime_error&) {
        // the expected error for a damaged file
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Try(bytes);
    if (size > 0) Try(Framed(bytes));
    return 0;
}
