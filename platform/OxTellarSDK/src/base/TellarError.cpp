#include <OxTellarSDK/TellarError.h>

#include <new>
#include <utility>

#include "ExceptionText.h"

TellarError::TellarError(ErrorFacts facts)
    : std::runtime_error(facts.text), facts(std::make_shared<const ErrorFacts>(std::move(facts))) {}

TellarError::TellarError(OxErrorCode code, const std::string& text)
    : TellarError(ErrorFacts{code, text, {}, {}, {}, {}, {}, {}}) {}

TellarError::~TellarError() = default;

TellarError TellarError::OfFile(const std::string& file, const std::string& text) {
    return TellarError(ErrorFacts{kOxErrorFile, text, {}, {}, {}, {}, file, {}});
}

TellarError TellarError::OfAttribute(const std::string& attribute, const std::string& text) {
    return TellarError(ErrorFacts{kOxErrorValue, text, {}, {}, {}, attribute, {}, {}});
}

ErrorFacts FactsOf(const std::exception& error) {
    if (const auto* const told = dynamic_cast<const TellarError*>(&error)) return told->getFacts();
    ErrorFacts facts;
    if (dynamic_cast<const std::bad_alloc*>(&error)) facts.code = kOxErrorMemory;
    facts.text = TELLAR::TextOf(error);
    return facts;
}

ErrorFacts FactsOf(const std::exception_ptr& error) {
    if (!error) return {};
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& known) {
        return FactsOf(known);
    } catch (...) {
        ErrorFacts facts;
        facts.text = "something was thrown that is no std::exception";
        return facts;
    }
}
