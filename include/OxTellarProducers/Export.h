#ifndef OXTELLARPRODUCERS_EXPORT_H
#define OXTELLARPRODUCERS_EXPORT_H

/// Marks what libOxTellarProducers exports; everything else in it is hidden.
#if defined(_WIN32)
#if defined(OXTELLARPRODUCERS_EXPORTS)
#define TELLAR_API __declspec(dllexport)
#else
#define TELLAR_API __declspec(dllimport)
#endif
#else
#define TELLAR_API __attribute__((visibility("default")))
#endif

#endif
