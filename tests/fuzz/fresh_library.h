/* The library as it is after loading, in a process that goes on. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Forgets what was configured. Start-up (adapt_init) then fills the records. */
void unload_library(void);

#ifdef __cplusplus
}
#endif
