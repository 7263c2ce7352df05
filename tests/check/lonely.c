/* A host without neighbours: it is bound lazily, and calls nothing. */
#include <stdint.h>

#include "adapt/adapt.h"

uint32_t igmpv3_rcv;
uint32_t igmpv3_snd;

int main(void) { return (int)mc_debug; }
