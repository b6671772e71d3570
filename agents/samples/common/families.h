// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_FAMILIES_H
#define SAMPLES_FAMILIES_H

namespace samples {

// What kind of agent each program is, to those who group agents by kind.
inline constexpr char pumpFamily[] = "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0001";
inline constexpr char tankFamily[] = "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0002";
inline constexpr char valveFamily[] = "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0003";
inline constexpr char controllerFamily[] = "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0004";
inline constexpr char operatorFamily[] = "0d6a6a52-8f0e-4b57-9d3b-5f8d1a3c0005";

} // namespace samples

#endif
