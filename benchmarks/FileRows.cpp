// Writing and reading op files, against plain writing and reading of the same bytes.

#include <algorithm>
#include <filesystem>
#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>

#include "Measure.h"
#include "PlainFile.h"
#include "Rows.h"
#include "Scene.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

constexpr int kPasses = 3;
constexpr double kMegabyte = 1e6;

/// Content as a checksum: an attribute's hash and a file's size.
Checksum MakeChecksum(const Attribute& attribute, std::int64_t bytes) {
    return {attribute.getHash().uint64(), bytes};
}

/// A file of this process's own, removed by the destructor.
class ScratchFile {
public:
    explicit ScratchFile(const char* name)
        : path(GetOptions().scenes + "/" + std::to_string(Stopwatch::Now()) + name) {}
    ~ScratchFile() { remove(); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::string& getPath() const { return path; }
    void remove() const {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }

private:
    const std::string path;
};

} // namespace
} // namespace TellarBench
