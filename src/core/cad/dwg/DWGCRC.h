// The 16-bit CRC DWG sections carry (the format calls it CRC-8): reflected polynomial 0xA001,
// seeded by the caller (0xC0C1 for the object map's sections).
#pragma once

#include <cstdint>
#include <span>

namespace vistrel {

uint16_t dwgCRC(uint16_t seed, std::span<const uint8_t> bytes);

}  // namespace vistrel
