// Marks a function or object of the toolbox's public interface; everything else in the library is hidden.
#pragma once

#define TOOLBOX_EXPORT __attribute__((visibility("default")))

// The same of a function whose result must not be dropped: a status, or what the caller has to dispose of. C
// compilers are not told, since theirs would complain of a cast to void as well.
#if defined(__cplusplus) && __cplusplus >= 201703L
#define TOOLBOX_MUST_USE [[nodiscard]] TOOLBOX_EXPORT
#else
#define TOOLBOX_MUST_USE TOOLBOX_EXPORT
#endif

// In front of a function so short that its callers hold it themselves. The library exports one all the same,
// for those that find it by name or need its address.
#define TOOLBOX_INLINE extern __inline__ __attribute__((gnu_inline))

#ifdef __cplusplus
#define TOOLBOX_EXTERN_C_BEGIN extern "C" {
#define TOOLBOX_EXTERN_C_END }
#else
#define TOOLBOX_EXTERN_C_BEGIN
#define TOOLBOX_EXTERN_C_END
#endif
