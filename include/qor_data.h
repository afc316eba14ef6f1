/*
 * qor_data.h: how tables of the library are declared to programs that use it.
 *
 * On Windows they are imported. On Linux a program that names a table may be given a copy of its own by its linker, apart
 * from what stands beside the table in the library; compilers that can are told to use the library's. With others, take
 * tables by dlsym.
 */
#ifndef QOR_DATA_H
#define QOR_DATA_H

#ifndef QOR_FYN_DATA
#if defined(_WIN32)
#define QOR_FYN_DATA extern __declspec(dllimport)
#elif defined(__GNUC__) && !defined(__clang__) && __GNUC__ >= 12
#define QOR_FYN_DATA extern __attribute__((nodirect_extern_access))
#else
#define QOR_FYN_DATA extern
#endif
#endif

#endif
