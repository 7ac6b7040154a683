// Reads any text as a file of picture formats. A table made from an accepted file must have all of
// its formats.

#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <ResolutionTableOx/ResolutionTable.h>

#include "Check.h"
#include "ResolutionFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::vector<ResolutionTableEntry> formats;
    try {
        formats = ParseResolutions(text, "input");
    } catch (const std::runtime_error&) {
        return 0; // the expected error for other texts
    }
    const ResolutionTable table(formats);
    for (const ResolutionTableEntry& format : formats) {
        const ResolutionTableEntry& found = table.getResolution(format.getName());
        Check(found.getWidth() == format.getWidth(), "a name stands once in a file");
        Check(found.getWidth() > 0 && found.getHeight() > 0, "pictures have pixels");
        Check(found.getPixelAspect() > 0, "pixels have a width");
    }
    return 0;
}
