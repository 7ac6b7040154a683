// Resolves any text as an asset reference. The first byte of the input is the frame.

#include <cstdint>
#include <stdexcept>
#include <string>

#include <OxAssetHost/OxAssetPluginManager.h>

#include "Check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const int frame = (data[0] - 128) * 16777216;
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    const auto assets = OxAssetPluginManager::getDefaultAssetPlugin();
    const std::string lenient = assets->resolvePath(text, frame, false);
    try {
        const std::string resolved = assets->resolvePath(text, frame, true);
        Check(resolved == lenient, "what can be resolved is resolved either way");
    } catch (const std::runtime_error& error) {
        Check(lenient == text, "what cannot be resolved comes back as it is");
        const std::string message = error.what();
        Check(message.find('\n') == std::string::npos, "a message is one line");
        Check(message.size() < 2000, "a message is short");
    }
    return 0;
}
