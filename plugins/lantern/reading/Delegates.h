#ifndef LANTERN_READING_DELEGATES_H
#define LANTERN_READING_DELEGATES_H

#include <deque>
#include <string>
#include <unordered_map>

#include "reading/Location.h"

namespace lantern {

/// The plug-ins that take over locations of some types, for this renderer or for every one. Any
/// number of threads may ask, once it is made.
class Delegates {
public:
    class Delegate {
    public:
        Delegate(const Suites& suites, const OxScenegraphLocationDelegatePluginSuite_v1& plugin);
        ~Delegate();
        Delegate(const Delegate&) = delete;
        Delegate& operator=(const Delegate&) = delete;

        /// A group of attributes "a" and children "c", or none: the location stays as it is.
        Attribute replacementOf(const Location& location) const;
        bool isOf(const OxScenegraphLocationDelegatePluginSuite_v1& other) const {
            return &plugin == &other;
        }

    private:
        const Suites& suites;
        const OxScenegraphLocationDelegatePluginSuite_v1& plugin;
        OxLocationDelegateInstance instance;
    };

    /// One instance of each delegate, to the end of this.
    explicit Delegates(const Suites& suites);

    /// Null for a type that nobody takes over.
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
