#ifndef OXTELLARSDK_THREADWORD_H
#define OXTELLARSDK_THREADWORD_H

/// Stands for thread_local where a variable is a plain word that starts as a constant. Compilers
/// that can be told so leave out the question, at every access from another source file, whether
/// it has been made yet.
#ifdef __GNUC__
#define TELLAR_THREAD_WORD __thread
#else
#define TELLAR_THREAD_WORD thread_local
#endif

#endif
