#ifndef OXTELLARSDK_TELLARERROR_H
#define OXTELLARSDK_TELLARERROR_H

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>

#include <OxTellarSDK/ErrorSuite.h>
#include <OxTellarSDK/Export.h>

/// The parts of an error. Texts that do not apply are empty.
struct ErrorFacts {
    OxErrorCode code = kOxErrorUnknown;
    std::string text;      ///< the whole message, which names the other parts where they matter
    std::string op;        ///< the name of the op that failed
    std::string opType;    ///< the type of that op
    std::string location;  ///< the path of the location that was cooked
    std::string attribute; ///< the attribute or argument at fault
    std::string file;      ///< the path of the file at fault
    /// Where the text stands that describes the op, such as "scene.json:14:5"; the file alone where
    /// this is no text.
    std::string opPlace = {};
};

/// An exception that tells its parts. Its what() is the text of its facts.
///
/// Op types may throw it to name an attribute or a file; the runtime then adds the op, its type and
/// the location. Copies share the facts and do not throw.
class OXTELLARSDK_API TellarError : public std::runtime_error {
public:
    explicit TellarError(ErrorFacts facts);
    TellarError(OxErrorCode code, const std::string& text);
    TellarError(const TellarError& other) noexcept = default;
    TellarError& operator=(const TellarError& other) noexcept = default;
    ~TellarError() override;

    /// An error of the kind kOxErrorFile.
    static TellarError OfFile(const std::string& file, const std::string& text);
    /// An error of the kind kOxErrorValue.
    static TellarError OfAttribute(const std::string& attribute, const std::string& text);

    const ErrorFacts& getFacts() const noexcept { return *facts; }
    OxErrorCode getCode() const noexcept { return facts->code; }

private:
    std::shared_ptr<const ErrorFacts> facts;
};

/// The facts of any exception. std::bad_alloc has the kind kOxErrorMemory; every other type than
/// TellarError has the kind kOxErrorUnknown and its text. Throws std::bad_alloc only.
OXTELLARSDK_API ErrorFacts FactsOf(const std::exception& error);
/// The same for an exception of any type. Null gives kOxErrorUnknown and an empty text.
OXTELLARSDK_API ErrorFacts FactsOf(const std::exception_ptr& error);

#endif
