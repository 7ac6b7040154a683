#ifndef TELLAR_TOOL_ARGUMENTSAMPLES_H
#define TELLAR_TOOL_ARGUMENTSAMPLES_H

#include <random>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>

namespace TellarTool {

/// A value for an argument, and what it is in words.
struct ArgumentSample {
    std::string text;
    OxAttribute::Attribute value;
};

/// Values of every type, sizes that are wrong for most arguments, and values beyond all limits.
std::vector<ArgumentSample> WrongValues();

/// A value that may make sense for an argument, from its name, type and summary; invalid for a type
/// that is not known. Paths are those of SmallCase (OpCase.h), files are `file`.
OxAttribute::Attribute SensibleValue(const OxOpType::Argument& argument, const std::string& file,
                                     std::mt19937& random);

/// Values that may make sense together: all arguments whose summary says that they are required,
/// and some of the others.
OxAttribute::GroupAttribute SensibleArguments(const OxOpType::Description& description,
                                              const std::string& file, std::mt19937& random);

/// The arguments with another value for one of them, by its dotted name. An invalid value removes
/// it.
OxAttribute::GroupAttribute WithArgument(const OxAttribute::GroupAttribute& args,
                                         const std::string& name,
                                         const OxAttribute::Attribute& value);

} // namespace TellarTool

#endif
