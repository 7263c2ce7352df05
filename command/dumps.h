/*
 * The configuration on the console, under no category: whoever asks for it sees it. The rule
 * operations print it after every change while the report level (igmp_adapt, mld_adapt) is 1. Both
 * return what their last printf returned.
 */
#pragma once

#include <stdint.h>

#include "common/export.h"

MC_C_BEGIN

MC_EXPORT int32_t debugPrint(void); /* the IGMP side */
MC_EXPORT int32_t mldPrint(void);   /* the MLD side */

MC_C_END

#ifdef __cplusplus
namespace mc {

/* The show command's longer variant: version, rules, ports, template VLANs, parameters. */
void print_configuration();

}  // namespace mc
#endif
