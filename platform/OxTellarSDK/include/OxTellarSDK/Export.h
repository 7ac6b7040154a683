#ifndef OXTELLARSDK_EXPORT_H
#define OXTELLARSDK_EXPORT_H

/// Marks what libOxTellarSDK exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXTELLARSDK_EXPORTS)
#define OXTELLARSDK_API __declspec(dllexport)
#else
#define OXTELLARSDK_API __declspec(dllimport)
#endif
#else
#define OXTELLARSDK_API __attribute__((visibility("default")))
#endif

#endif
