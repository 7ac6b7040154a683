// Reads arbitrary attributes as replies of the scene reader, a process that a damaged file may have
// taken over. An input is the XML of an attribute.

#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <OxTellarSDK/Attribute.h>

#include "DescriptionText.h"
#include "SceneWalk.h"
#include "isolation/ReaderReply.h"
#include "model/SceneBuilder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    try {
        TellarSceneImport::ReaderReply reply =
            TellarSceneImport::ReplyFrom(ReadDescriptionText(input));
        if (reply.error.empty())
            WalkScene(*TellarSceneImport::BuildScene(std::move(reply.content)));
    } catch (const std::runtime_error&) {
        // the expected error for a damaged reply
    }
    return 0;
}
