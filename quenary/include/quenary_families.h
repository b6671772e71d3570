/* Families of agents that programs on both sides of the network must know by the same uuid. */
#ifndef QUENARY_FAMILIES_H
#define QUENARY_FAMILIES_H

/* Agents that record the network's traffic and play it back. */
#define QNY_FAMILY_RECORDER "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77"

#endif
