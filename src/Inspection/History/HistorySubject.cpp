#include "HistorySubject.h"

namespace TELLAR {

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

bool NamesChild(const TellarRuntime::LocationData& data, std::string_view name) {
    const StringAttribute& names = data.getPotentialChildren();
    for (std::int64_t sample = 0; sample < names.getNumberOfTimeSamples(); ++sample)
        for (const std::string_view child : names.getSample(sample))
            if (child == name) return true;
    return false;
}

Attribute ValueOf(const HistorySubject& subject, const TellarRuntime::LocationData& data) {
    switch (subject.kind) {
    case HistorySubject::Attribute:
        return data.getAttrs().getChildByName(subject.name);
    case HistorySubject::ChildName:
        return NamesChild(data, subject.name) ? StringAttribute(subject.name) : Attribute();
    case HistorySubject::Location:
        break;
    }
    return {};
}

} // namespace TELLAR
