/* SPDX-License-Identifier: Apache-2.0 */
/* Families of agents that programs on both sides of the network must know by the same uuid. */
#ifndef QUENARY_FAMILIES_H
#define QUENARY_FAMILIES_H

/* Agents that record the network's traffic and play it back. */
#define QNY_FAMILY_RECORDER "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77"
/* Agents that start others on their own machine when a host asks. */
#define QNY_FAMILY_LAUNCHER "0d9a7c4b-6f18-4a57-8f0e-9b1c52e3a6d4"

#endif
