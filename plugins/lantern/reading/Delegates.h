#ifndef LANTERN_READING_DELEGATES_H
#define LANTERN_READING_DELEGATES_H

#include <deque>
#include <string>
#include <unordered_map>

#include "reading/Location.h"

namespace lantern {

/// The location delegates for this renderer: plug-ins that replace locations of certain types. Safe
/// from several threads at once.
class Delegates {
public:
    class Delegate {
    public:
        Delegate(const Suites& suites, const OxScenegraphLocationDelegatePluginSuite_v1& plugin);
        ~Delegate();
        Delegate(const Delegate&) = delete;
        Delegate& operator=(const Delegate&) = delete;

        /// A group of attributes "a" and children "c", or none to keep the location as it is.
        Attribute replacementOf(const Location& location) const;
        bool isOf(const OxScenegraphLocationDelegatePluginSuite_v1& other) const {
            return &plugin == &other;
        }

    private:
        const Suites& suites;
        const OxScenegraphLocationDelegatePluginSuite_v1& plugin;
        OxLocationDelegateInstance instance;
    };

    /// Makes one instance of each delegate, which lives as long as this object.
    explicit Delegates(const Suites& suites);

    /// Null for a type without a delegate.
    const Delegate* find(const std::string& locationType) const;

private:
    void addFor(const Suites& suites, const char* renderer);
    const Delegate& instanceOf(const Suites& suites,
                               const OxScenegraphLocationDelegatePluginSuite_v1& plugin);

    std::deque<Delegate> delegates;
    std::unordered_map<std::string, const Delegate*> byType;
};

} // namespace lantern

#endif
