#ifndef OXTELLARSDK_ERRORHANDLE_H
#define OXTELLARSDK_ERRORHANDLE_H

#include <exception>

#include <OxTellarSDK/ErrorSuite.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/TellarError.h>

// Errors as C handles: counted and immutable. Threads: any.

/// A new handle with one reference owned by the caller. Never null: without memory it is the handle
/// of an error of the kind kOxErrorMemory that lives as long as the process and ignores its count.
OXTELLARSDK_API OxErrorStruct* OxErrorToHandle(ErrorFacts facts) noexcept;
/// The same for the facts of an exception.
OXTELLARSDK_API OxErrorStruct* OxErrorToHandle(const std::exception_ptr& error) noexcept;

/// Adds and drops one reference; the last one frees the error. Both accept null.
OXTELLARSDK_API void OxRetainError(OxErrorStruct* error) noexcept;
OXTELLARSDK_API void OxReleaseError(OxErrorStruct* error) noexcept;

/// The facts behind a handle, with texts that live as long as a reference to it. For null, empty
/// texts and a code of 0.
OXTELLARSDK_API OxErrorFacts OxHandleToErrorFacts(const OxErrorStruct* error) noexcept;
/// ErrorFacts::opPlace, for as long; empty for null.
OXTELLARSDK_API const char* OxHandleToErrorPlace(const OxErrorStruct* error) noexcept;

#endif
