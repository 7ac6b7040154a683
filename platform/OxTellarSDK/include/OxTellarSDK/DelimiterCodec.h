#ifndef OXTELLARSDK_DELIMITERCODEC_H
#define OXTELLARSDK_DELIMITERCODEC_H

#include <string>
#include <string_view>

#include <OxTellarSDK/Export.h>

namespace OxAttribute {

/// Makes any name, for example a location path, usable as one component of a dotted
/// attribute path: '.', '/', '%' and the zero byte become %2E, %2F, %25 and %00. Every
/// other byte stays as it is, and DelimiterDecode gives the name back.
OXTELLARSDK_API std::string DelimiterEncode(std::string_view name);

/// Turns each % that two hexadecimal digits of either case follow into the byte they
/// stand for. Anything else stays as it is, so every text can be decoded.
OXTELLARSDK_API std::string DelimiterDecode(std::string_view encoded);

} // namespace OxAttribute

#endif
