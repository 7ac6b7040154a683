#ifndef OXPLUGINHOST_EXPORT_H
#define OXPLUGINHOST_EXPORT_H

/// Marks what libOxPluginHost exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXPLUGINHOST_EXPORTS)
#define OXPLUGINHOST_API __declspec(dllexport)
#else
#define OXPLUGINHOST_API __declspec(dllimport)
#endif
#else
#define OXPLUGINHOST_API __attribute__((visibility("default")))
#endif

#endif
