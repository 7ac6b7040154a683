#ifndef OXTELLARPRODUCERS_CALLSTAMP_H
#define OXTELLARPRODUCERS_CALLSTAMP_H

#include <cstdint>
#include <string>

#include "SuiteCall.h"

namespace TELLAR {

/// The call, thread and render in which something happened.
struct CallStamp {
    const SlotInfo* slot = nullptr; ///< null: none
    std::uint64_t number = 0;       ///< counts the calls of the process from 1
    int thread = 0;                 ///< counts the threads that made calls from 1
    int render = 0;                 ///< counts the renders from 1; 0 for none
};

/// "call 12 (getFirstChild, thread 1)"
inline std::string TextOf(const CallStamp& stamp) {
    return "call " + std::to_string(stamp.number) + " (" + (stamp.slot ? stamp.slot->name : "?") +
           ", thread " + std::to_string(stamp.thread) + ")";
}

/// "getFirstChild (ScenegraphIteratorHost 3)"
inline std::string TextOf(const SlotInfo& slot) {
    return std::string(slot.name) + " (" + slot.suite + ' ' + std::to_string(slot.version) + ")";
}

} // namespace TELLAR

#endif
