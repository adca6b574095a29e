// Marks a function or object of the toolbox's public interface; everything else in the library is hidden.
#pragma once

#define TOOLBOX_EXPORT __attribute__((visibility("default")))

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
