#ifndef RESOLUTIONTABLEOX_EXPORT_H
#define RESOLUTIONTABLEOX_EXPORT_H

/// Marks what libResolutionTableOx exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(RESOLUTIONTABLEOX_EXPORTS)
#define RESOLUTIONTABLEOX_API __declspec(dllexport)
#else
#define RESOLUTIONTABLEOX_API __declspec(dllimport)
#endif
#else
#define RESOLUTIONTABLEOX_API __attribute__((visibility("default")))
#endif

#endif
