#ifndef OXLOGGINGHOST_EXPORT_H
#define OXLOGGINGHOST_EXPORT_H

/// Marks what libOxLoggingHost exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXLOGGINGHOST_EXPORTS)
#define OXLOGGINGHOST_API __declspec(dllexport)
#else
#define OXLOGGINGHOST_API __declspec(dllimport)
#endif
#else
#define OXLOGGINGHOST_API __attribute__((visibility("default")))
#endif

#endif
