#ifndef OXTELLARSDK_CAPTUREPARSER_H
#define OXTELLARSDK_CAPTUREPARSER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "CaptureLayout.h"

namespace OxCapture {

/// The content of a capture file.
struct Content {
    using Answers = std::unordered_map<std::string, OxAttribute::Attribute>;

    std::unordered_map<std::string, Answers> answers; // by question, then by key
    bool isComplete = false;
};

/// Parses the bytes of a capture as far as they go. Nothing in them is trusted. Throws TellarError
/// naming `name`, the problem and the place when they are damaged.
Content ParseCapture(std::string_view bytes, const std::string& name);

} // namespace OxCapture

#endif
