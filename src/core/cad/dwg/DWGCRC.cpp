#include "cad/dwg/DWGCRC.h"

#include <array>

namespace vistrel {

namespace {

constexpr std::array<uint16_t, 256> makeTable() {
    std::array<uint16_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i) {
        unsigned c = i;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ 0xA001 : c >> 1;
        table[i] = uint16_t(c);
    }
    return table;
}

constexpr std::array<uint16_t, 256> kTable = makeTable();

}  // namespace

uint16_t dwgCRC(uint16_t seed, std::span<const uint8_t> bytes) {
    uint16_t crc = seed;
    for (uint8_t b : bytes) crc = uint16_t((crc >> 8) ^ kTable[(crc ^ b) & 0xFF]);
    return crc;
}

}  // namespace vistrel
