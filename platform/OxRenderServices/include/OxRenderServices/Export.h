#ifndef OXRENDERSERVICES_EXPORT_H
#define OXRENDERSERVICES_EXPORT_H

/// Marks what libOxRenderServices exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXRENDERSERVICES_EXPORTS)
#define OXRENDERSERVICES_API __declspec(dllexport)
#else
#define OXRENDERSERVICES_API __declspec(dllimport)
#endif
#else
#define OXRENDERSERVICES_API __attribute__((visibility("default")))
#endif

#endif
