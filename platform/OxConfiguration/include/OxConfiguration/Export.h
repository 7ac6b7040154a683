#ifndef OXCONFIGURATION_EXPORT_H
#define OXCONFIGURATION_EXPORT_H

/// Marks what libOxConfiguration exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXCONFIGURATION_EXPORTS)
#define OXCONFIGURATION_API __declspec(dllexport)
#else
#define OXCONFIGURATION_API __declspec(dllimport)
#endif
#else
#define OXCONFIGURATION_API __attribute__((visibility("default")))
#endif

#endif
