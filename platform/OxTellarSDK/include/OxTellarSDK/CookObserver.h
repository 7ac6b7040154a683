#ifndef OXTELLARSDK_COOKOBSERVER_H
#define OXTELLARSDK_COOKOBSERVER_H

#include <cstddef>
#include <memory>
#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Watches the cooks of this process: what is computed, in which order, by which threads.

namespace OxOpType {

/// The cook of a location by an Op, valid during a call of an observer.
struct ObservedCook {
    const std::string& opName;
    const std::string& opType;
    const OxAttribute::Hash& opIdentity; ///< equal for Ops that share their results
    const std::string& location;
};

/// Is told of the cooks that begin while a CookObservation of it lives. A location whose result
/// exists already is not cooked again and not told.
///
/// Threads: the functions are called by the threads that cook, any number of them at once, without
/// a lock of the library. The calls of one thread nest: what an Op asks of its inputs is cooked
/// between the beginning and the end of its own cook. An observer must not cook.
class OXTELLARSDK_API CookObserver {
public:
    virtual ~CookObserver();

    virtual void cookBegins(const ObservedCook& cook) noexcept;
    /// The Op has asked for a location of an input, which may have been cooked earlier, and has got
    /// this data.
    virtual void inputWasRead(const ObservedCook& cook, std::size_t input,
                              const std::string& location,
                              const TellarRuntime::LocationData& data) noexcept;
    virtual void cookEnds(const ObservedCook& cook,
                          const TellarRuntime::LocationData& result) noexcept;
    /// The other end of a cook. The error tells which Op has failed: this one, or one that it
    /// depends on, whose cook was told to fail before.
    virtual void cookFails(const ObservedCook& cook, const ErrorFacts& error) noexcept;

    /// The calling thread needs the result of a cook that another thread is making, and gets it
    /// when the wait ends. It may then cook the location itself, if the other thread's cook failed.
    virtual void waitBegins(const ObservedCook& cook) noexcept;
    virtual void waitEnds(const ObservedCook& cook) noexcept;
};

/// An observer is told of cooks while this object lives, and of the end of those that go on when it
/// is destroyed. There may be several at once. They cost nothing when there is none.
class OXTELLARSDK_API CookObservation {
public:
    explicit CookObservation(std::shared_ptr<CookObserver> observer);
    ~CookObservation();
    CookObservation(const CookObservation&) = delete;
    CookObservation& operator=(const CookObservation&) = delete;

private:
    const std::shared_ptr<CookObserver> observer;
};

} // namespace OxOpType

#endif
