#ifndef OXTELLARPRODUCERS_HISTORYSUBJECT_H
#define OXTELLARPRODUCERS_HISTORYSUBJECT_H

#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// What a history is about.
struct HistorySubject {
    enum Kind {
        Location,  ///< all that a location has
        Attribute, ///< one attribute, by its dotted name
        ChildName  ///< a name among the potential children
    };
    Kind kind = Location;
    std::string name; ///< empty for a location
};

/// True when the location has the name among its potential children, at any time.
bool NamesChild(const TellarRuntime::LocationData& data, std::string_view name);

/// The subject's value at a location; for the name of a child, the name. Invalid when there is
/// none, and always for a subject that is a location.
OxAttribute::Attribute ValueOf(const HistorySubject& subject,
                               const TellarRuntime::LocationData& data);

} // namespace TELLAR

#endif
