/*
 * Where a breach is found: in a function that the library imports, or in a call-back that it has
 * registered with the core.
 */
#pragma once

#include "check/imports.h"

#define CALL_BACKS(CALL_BACK)  \
    CALL_BACK(igmp_send, send) \
    CALL_BACK(igmp_add, add)   \
    CALL_BACK(igmp_del, del)   \
    CALL_BACK(mld_send, send)  \
    CALL_BACK(mld_add, add)    \
    CALL_BACK(mld_del, del)

typedef enum Place {
    NO_PLACE,
#define PLACE_OF_IMPORT(name) AT_##name,
    WATCHED_IMPORTS(PLACE_OF_IMPORT)
#undef PLACE_OF_IMPORT
#define PLACE_OF_CALL_BACK(name, kind) AT_##name,
        CALL_BACKS(PLACE_OF_CALL_BACK)
#undef PLACE_OF_CALL_BACK
            PLACES
} Place;

const char* place_name(Place place);
