// Reads the bit-packed values of a DWG stream, most significant bit first, over bytes it does
// not own. Reading past the end never touches memory outside the span: it sets a sticky
// overrun() flag, leaves the position at the end and yields zeros (empty strings), so a decoder
// reads a whole object and checks once at its boundary. Nothing allocates but the strings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "cad/dwg/DWGVersion.h"

namespace vistrel {

struct DWGPoint3 {
    double x = 0, y = 0, z = 0;
};

struct DWGPoint2 {
    double x = 0, y = 0;
};

// A handle reference as stored: its code says how it points, and for the relative codes
// (6, 8, 0xA, 0xC) `value` is an offset from the handle of the object that holds it.
struct DWGHandleRef {
    uint8_t code = 0;
    uint64_t value = 0;

    // The handle pointed to, given the handle of the object the reference sits in.
    uint64_t absolute(uint64_t holder) const {
        switch (code) {
            case 0x6:
                return holder + 1;
            case 0x8:
                return holder - 1;
            case 0xA:
                return holder + value;
            case 0xC:
                return holder - value;
            default:
                return value;
        }
    }
};

// A colour: index 256 by layer, 0 by block; `rgb` (0xRRGGBB) when `trueColor`.
struct DWGColor {
    int16_t index = 256;
    uint32_t rgb = 0;
    bool trueColor = false;
    bool bookHandle = false;  // ENC: a colour-book handle follows in the handle stream
    uint8_t nameFlags = 0;    // CMC from R2004: 1 colour name, 2 book name (R2007+: in the
                              // string stream, left to the caller)
};

class DWGBitReader {
  public:
    DWGBitReader() = default;
    // `codePage` is the file header's code page number, for TV strings (30 = ANSI_1252).
    explicit DWGBitReader(std::span<const uint8_t> bytes, uint16_t codePage = 30)
        : bytes_(bytes), bitSize_(bytes.size() * 8), codePage_(codePage) {}

    size_t bitPosition() const { return pos_; }
    size_t bitSize() const { return bitSize_; }
    size_t bitsLeft() const { return bitSize_ - pos_; }
    // Past the end sets overrun() and stays at the end.
    void seekBit(size_t bit);
    void seekByte(size_t byte) { seekBit(byte * 8); }
    void skipBits(size_t count) { seekBit(pos_ + count); }
    // Moves to the next whole byte (no move when already on one).
    void alignByte() { seekBit((pos_ + 7) & ~size_t(7)); }
    // Narrows the readable end to `bit` (no further than the current end), so that an object's
    // data cannot run into its handles. A position already past it counts as an overrun.
    void limitTo(size_t bit);
    bool overrun() const { return overrun_; }
    void clearOverrun() { overrun_ = false; }
    std::span<const uint8_t> bytes() const { return bytes_; }

    uint8_t readB() { return uint8_t(bits(1)); }
    uint8_t readBB() { return uint8_t(bits(2)); }
    uint8_t read3B();  // 0, 2, 6 or 7: ones until a zero, at most three bits
    int16_t readBS();
    int32_t readBL();
    uint64_t readBLL();
    double readBD();
    double readDD(double previous);
    DWGPoint2 read2RD();
    DWGPoint2 read2BD();
    DWGPoint2 read2DD(DWGPoint2 previous);
    DWGPoint3 read3BD();
    DWGPoint3 read3RD();
    uint8_t readRC() { return uint8_t(bits(8)); }
    int16_t readRS();
    int32_t readRL();
    double readRD();
    // Modular char: signed (sign in bit 6 of its last byte) and unsigned.
    int64_t readMC();
    uint64_t readUMC();
    // Modular short, unsigned (object sizes).
    uint32_t readMS();
    DWGHandleRef readH();
    // Copies `out.size()` raw bytes (sentinels, fixed text); zeros past the end.
    void readBytes(std::span<uint8_t> out);

    // Strings as UTF-8: TV through the code page, TU from UTF-16LE, T by version.
    std::string readTV();
    std::string readTU();
    std::string readT(DWGVersion version) {
        return version >= DWGVersion::r2007 ? readTU() : readTV();
    }

    double readBT(DWGVersion version);
    DWGPoint3 readBE(DWGVersion version);
    DWGColor readCMC(DWGVersion version);
    // Entity colour: ENC from R2004 on, CMC before. Reads and drops a transparency.
    DWGColor readENC(DWGVersion version);
    // Object type: BOT from R2010 on, BS before.
    uint16_t readOT(DWGVersion version);

    // Bytes in the code page `codePage` to UTF-8 (1252 mapped, other pages as Latin-1).
    static std::string decodeCodePage(std::span<const uint8_t> raw, uint16_t codePage);

  private:
    // False, marking the overrun, when fewer than `count` bits are left.
    bool need(size_t count) {
        if (count <= bitSize_ - pos_) return true;
        overrun_ = true;
        pos_ = bitSize_;
        return false;
    }
    // Up to 32 bits, most significant first. Inline: every code goes through it.
    uint32_t bits(unsigned count) {
        if (count == 0 || !need(count)) return 0;
        const size_t byte = pos_ >> 3;
        const unsigned shift = pos_ & 7;
        uint64_t window = 0;
        if (byte + 8 <= bytes_.size()) {
            std::memcpy(&window, bytes_.data() + byte, 8);
            window = __builtin_bswap64(window);
        } else {
            for (size_t i = 0; i < 8; ++i)
                window = (window << 8) | (byte + i < bytes_.size() ? bytes_[byte + i] : 0);
        }
        pos_ += count;
        return uint32_t((window << shift) >> (64 - count));
    }

    std::span<const uint8_t> bytes_;
    size_t bitSize_ = 0;
    size_t pos_ = 0;
    uint16_t codePage_ = 30;
    bool overrun_ = false;
};

}  // namespace vistrel
