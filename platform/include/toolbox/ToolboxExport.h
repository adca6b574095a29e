// Marks a function or object of the toolbox's public interface; everything else in the library is hidden.
#pragma once

#define TOOLBOX_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define TOOLBOX_EXTERN_C_BEGIN extern "C" {
#define TOOLBOX_EXTERN_C_END }
#else
#define TOOLBOX_EXTERN_C_BEGIN
#define TOOLBOX_EXTERN_C_END
#endif
