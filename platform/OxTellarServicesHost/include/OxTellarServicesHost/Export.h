#ifndef OXTELLARSERVICESHOST_EXPORT_H
#define OXTELLARSERVICESHOST_EXPORT_H

/// Marks what libOxTellarServicesHost exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXTELLARSERVICESHOST_EXPORTS)
#define OXTELLARSERVICESHOST_API __declspec(dllexport)
#else
#define OXTELLARSERVICESHOST_API __declspec(dllimport)
#endif
#else
#define OXTELLARSERVICESHOST_API __attribute__((visibility("default")))
#endif

#endif
