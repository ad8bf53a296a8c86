// Export and import marks of the two shared libraries, `CoreObjects` and `wffDDR`. The one header of the contract that
// knows a platform.
#pragma once

#if defined(_WIN32)
#define ORV_EXPORT __declspec(dllexport)
#define ORV_IMPORT __declspec(dllimport)
#else
#define ORV_EXPORT __attribute__((visibility("default")))
#define ORV_IMPORT __attribute__((visibility("default")))
#endif

// Classes and functions of the host runtime `wffDDR`.
#if defined(ORV_BUILDING_RUNTIME)
#define ORV_RUNTIME_API ORV_EXPORT
#else
#define ORV_RUNTIME_API ORV_IMPORT
#endif

// Classes that `CoreObjects` exports. They are defined in their headers, so that nobody has to link the library to use
// them.
#if defined(ORV_BUILDING_CORE)
#define ORV_CORE_API ORV_EXPORT
#elif defined(_WIN32)
#define ORV_CORE_API
#else
#define ORV_CORE_API ORV_IMPORT
#endif

// Lets the compiler check the values of a printf-style call; the positions count the hidden object pointer.
#if defined(_WIN32) && !defined(__clang__)
#define ORV_PRINTF_LIKE(format_index, first_value) __attribute__((format(gnu_printf, format_index, first_value)))
#else
#define ORV_PRINTF_LIKE(format_index, first_value) __attribute__((format(printf, format_index, first_value)))
#endif
