#include "NameRules.h"

#include <string>
#include <string_view>
#include <unordered_set>

#include "Values.h"
#include "text/Utf8.h"

namespace TELLAR {

void CheckNames(const OxAttribute::StringAttribute& children, Drafts& drafts) {
    const auto names = children.getNearestSample(0.0f);
    std::unordered_set<std::string_view> seen;
    seen.reserve(names.size());
    std::unordered_set<std::string_view> clashing;
    for (const std::string_view name : names) {
        const bool isLevel = !name.empty() && name != "." && name != ".." &&
                             name.find('/') == std::string_view::npos;
        if (!isLevel)
            drafts.add(Rule::NameLevel, {}, "one of its children has the name " + Quoted(name));
        if (!TellarInternal::IsUtf8(name))
            drafts.add(Rule::NameUtf8, {},
                       "the name " + Quoted(name) + " of one of its children is not UTF-8");
        if (!seen.insert(name).second && clashing.insert(name).second)
            drafts.add(Rule::NameClash, {},
                       "several of its children have the name " + Quoted(name));
    }
}

} // namespace TELLAR
