#include <set>
#include <vector>

#include "IteratorEntries.h"

namespace TELLAR::ScenegraphIteratorHost4 {

namespace {

using OxAttribute::StringAttribute;

const char* GetName(OxSgIteratorStruct* location, std::int64_t* length) {
    if (length) *length = 0;
    if (!location) return nullptr;
    const OwnLocation own = location->getOwn();
    return Lend(own ? own.getName() : location->getTexts().name, length);
}

const char* GetFullName(OxSgIteratorStruct* location, std::int64_t* length) {
    if (length) *length = 0;
    return location ? Lend(location->getTexts().fullName, length) : nullptr;
}

const char* GetType(OxSgIteratorStruct* location, std::int64_t* length) {
    if (length) *length = 0;
    if (!location) return nullptr;
    const OwnLocation own = location->getOwn();
    if (!own) return Lend(location->getTexts().type.getValueView(), length);
    return Lend(own.getAttrs().getTextView("type"), length);
}

OxAttributeStruct* GetAttributeNames(OxSgIteratorStruct* location) {
    std::set<std::string> names;
    At(location).getAttributeNames(&names);
    return StringAttribute(std::vector<std::string>(names.begin(), names.end()), 1).detach();
}

} // namespace

void FillValueSlots(Suite& suite) {
    TELLAR_SET_SILENT_ENTRY(suite, 23, getName, GetName);
    TELLAR_SET_SILENT_ENTRY(suite, 24, getFullName, GetFullName);
    TELLAR_SET_SILENT_ENTRY(suite, 25, getType, GetType);
    TELLAR_SET_ERROR_ENTRY(suite, 26, getAttribute,
                           [](OxSgIteratorStruct* location, const char* name) {
                               return At(location).getAttribute(NotNull(name, "name")).detach();
                           });
    TELLAR_SET_ERROR_ENTRY(
        suite, 27, getGlobalAttribute, [](OxSgIteratorStruct* location, const char* name) {
            return At(location).getGlobalAttribute(NotNull(name, "name")).detach();
        });
    TELLAR_SET_ERROR_ENTRY(suite, 28, getAttributeNames, GetAttributeNames);
    TELLAR_SET_ERROR_ENTRY(suite, 29, getGlobalXFormGroup, [](OxSgIteratorStruct* location) {
        return At(location).getGlobalXFormGroup().detach();
    });
    TELLAR_SET_ERROR_ENTRY(suite, 30, getPotentialChildren, [](OxSgIteratorStruct* location) {
        StringAttribute names = At(location).getPotentialChildren();
        return names.getNumberOfValues() > 0 ? names.detach() : nullptr;
    });
}

} // namespace TELLAR::ScenegraphIteratorHost4
