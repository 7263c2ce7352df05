/* Marks what the shared library exports; everything else in it stays hidden. */
#pragma once

#define MC_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define MC_C_BEGIN extern "C" {
#define MC_C_END }
#else
#define MC_C_BEGIN
#define MC_C_END
#endif
