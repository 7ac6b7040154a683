#ifndef OXTELLARSDK_TESTS_DESCRIPTIONJSONTEXTS_H
#define OXTELLARSDK_TESTS_DESCRIPTIONJSONTEXTS_H

#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

/// Descriptions for tests of their JSON form.
namespace DescriptionJsonTexts {

using namespace OxAttribute;

inline GroupAttribute Parse(const std::string& text) {
    return ParseDescriptionJson(text, "in.json", "");
}

/// The attribute that `json` becomes as the argument "v" of an op.
inline Attribute ArgumentFrom(const std::string& json) {
    const GroupAttribute description =
        Parse(R"({"ops": [{"name": "a", "type": "T", "args": {"v": )" + json + "}}]}");
    return description.getChildByName("a.opArgs.v");
}

inline GroupAttribute Op(const std::vector<GroupAttribute::Child>& children) {
    return GroupAttribute(children, true);
}

inline GroupAttribute Describe(const std::vector<GroupAttribute::Child>& ops) {
    return GroupAttribute(ops, true);
}

} // namespace DescriptionJsonTexts

#endif
