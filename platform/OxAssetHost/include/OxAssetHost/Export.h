#ifndef OXASSETHOST_EXPORT_H
#define OXASSETHOST_EXPORT_H

/// Marks what libOxAssetHost exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXASSETHOST_EXPORTS)
#define OXASSETHOST_API __declspec(dllexport)
#else
#define OXASSETHOST_API __declspec(dllimport)
#endif
#else
#define OXASSETHOST_API __attribute__((visibility("default")))
#endif

#endif
