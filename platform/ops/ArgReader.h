#ifndef TELLAROPS_ARGREADER_H
#define TELLAROPS_ARGREADER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/OpType.h>

namespace TellarOps {

/// Whether numbers given as floats stay floats. Integers always become doubles.
enum class NumberForm { AsGiven, Double };

/// Reads an Op's arguments strictly. A wrong type, a wrong number of values or a missing required
/// argument throws TellarError, which names the argument and its type in the description.
///
/// For one thread; description and arguments must outlive it.
class ArgReader {
public:
    /// Throws TellarError for an argument that the description does not list.
    ArgReader(const OxOpType::Description& description, const OxAttribute::GroupAttribute& args);

    std::string requiredString(std::string_view name) const;
    std::string string(std::string_view name, const std::string& absent) const;
    /// One of `choices`; the first one when absent.
    std::string choice(std::string_view name, const std::vector<std::string>& choices) const;
    /// Returns an empty list when the argument is absent.
    std::vector<std::string> strings(std::string_view name) const;
    /// Required.
    std::vector<std::string> globs(std::string_view name) const;
    /// An absolute location path without empty levels; required if `absent` is empty.
    std::string location(std::string_view name, const std::string& absent) const;

    /// A list of such paths, required.
    OxAttribute::StringAttribute locations(std::string_view name) const;

    std::int32_t integer(std::string_view name, std::int32_t absent, std::int32_t least,
                         std::int32_t most) const;
    /// `count` integers, none below `least`; required.
    std::vector<std::int32_t> requiredIntegers(std::string_view name, std::int64_t count,
                                               std::int32_t least) const;
    /// Any number of indices of `end` things, "instances". Invalid when absent.
    OxAttribute::IntAttribute indices(std::string_view name, std::uint64_t end,
                                      const char* things) const;
    bool flag(std::string_view name, bool absent) const;

    /// `count` numbers a time sample: doubles or floats as NumberForm says, integers as
    /// doubles, all samples kept. Invalid when absent.
    OxAttribute::DataAttribute numbers(std::string_view name, std::int64_t count,
                                       NumberForm form) const;
    /// The same for any number of tuples of `tupleSize` numbers, floats as floats.
    OxAttribute::DataAttribute tuples(std::string_view name, std::int64_t tupleSize) const;
    /// `count` doubles at time 0, or `absent` when the argument is absent. Required if `absent` is
    /// empty.
    std::vector<double> doubles(std::string_view name, std::int64_t count,
                                const std::vector<double>& absent) const;

    /// Invalid when absent.
    OxAttribute::GroupAttribute group(std::string_view name) const;
    OxAttribute::GroupAttribute requiredGroup(std::string_view name) const;

private:
    OxAttribute::Attribute find(std::string_view name) const;
    OxAttribute::Attribute require(std::string_view name) const;
    OxAttribute::IntAttribute integers(std::string_view name, std::int64_t count) const;
    void check(bool isRight, std::string_view name) const;

    const OxOpType::Description& description;
    const OxAttribute::GroupAttribute& args;
};

/// Throws TellarError 'Argument "<name>" <complaint>.' with the name as its attribute.
[[noreturn]] void ThrowArgumentError(std::string_view name, const std::string& complaint);

} // namespace TellarOps

#endif
