#ifndef TELLAR_TOOL_VALUETEXT_H
#define TELLAR_TOOL_VALUETEXT_H

#include <cstdint>
#include <string>

#include <OxTellarProducers/SceneDifference.h>

namespace TellarTool {

/// A count and a noun: "1 op", "2 ops".
std::string Counted(std::uint64_t count, const char* one, const char* several);

/// The value before and after, "1.2 -> 1.5 (double)", or a summary of long ones: "3 of 24 values
/// differ, by up to 0.5 (float, 8 x 3)". Printable.
std::string ValueText(const TELLAR::ValueDifference& difference);

} // namespace TellarTool

#endif
