#include "cad/dwg/DWGLZ77.h"

#include <cstring>

#include "cad/dwg/DWGSections.h"

namespace vistrel {

namespace {

class Decoder {
  public:
    Decoder(std::span<const uint8_t> in, std::span<uint8_t> out) : in_(in), out_(out) {}

    uint8_t next() {
        if (inPos_ >= in_.size()) throw DWGFormatError("DWG page: compressed data ends early");
        return in_[inPos_++];
    }

    // A run of 0x00 bytes adds 0xFF each; the first other byte closes the count. The sum grows
    // only as input is consumed, so it cannot overflow before the input ends.
    size_t extendedCount(size_t base) {
        size_t total = base;
        uint8_t b;
        while ((b = next()) == 0) total += 0xFF;
        return total + b;
    }

    size_t literalLength(uint8_t first) { return first != 0 ? first + 3 : extendedCount(0x0F) + 3; }

    size_t longLength() {
        uint8_t b = next();
        return b != 0 ? b : extendedCount(0xFF);
    }

    void copyLiteral(size_t n) {
        if (n > in_.size() - inPos_) throw DWGFormatError("DWG page: literal run past the input");
        if (n > out_.size() - outPos_) throw DWGFormatError("DWG page: literal run past the page");
        std::memcpy(out_.data() + outPos_, in_.data() + inPos_, n);
        inPos_ += n;
        outPos_ += n;
    }

    // Copies n bytes from distance+1 back; they may overlap the bytes being written.
    void copyBack(size_t distance, size_t n) {
        if (distance >= outPos_) throw DWGFormatError("DWG page: reference before the page start");
        if (n > out_.size() - outPos_) throw DWGFormatError("DWG page: reference past the page");
        uint8_t* dst = out_.data() + outPos_;
        const uint8_t* src = dst - distance - 1;
        if (distance + 1 >= n) {
            std::memcpy(dst, src, n);
        } else {
            for (size_t i = 0; i < n; ++i) dst[i] = src[i];
        }
        outPos_ += n;
    }

    size_t run() {
        uint8_t op = next();
        if (op < 0x10) {
            copyLiteral(literalLength(op));
            op = next();
        }
        for (;;) {
            size_t length = 0;
            size_t distance = 0;
            size_t literals = 0;
            if (op == 0x11) return outPos_;
            if (op < 0x10) throw DWGFormatError("DWG page: literal run where an opcode belongs");
            if (op < 0x20) {
                length = op == 0x10 ? longLength() + 9 : (op & 0x0F) + 2;
                const uint8_t b1 = next();
                const uint8_t b2 = next();
                distance = ((b1 >> 2) | (size_t{b2} << 6)) + 0x3FFF;
                literals = b1 & 0x03;
            } else if (op < 0x40) {
                length = op == 0x20 ? longLength() + 0x21 : op - 0x1E;
                const uint8_t b1 = next();
                const uint8_t b2 = next();
                distance = (b1 >> 2) | (size_t{b2} << 6);
                literals = b1 & 0x03;
            } else {
                length = (op >> 4) - 1;
                const uint8_t b2 = next();
                distance = (size_t{b2} << 2) | ((op & 0x0C) >> 2);
                literals = op & 0x03;
            }
            copyBack(distance, length);
            if (literals == 0) {
                op = next();
                if (op >= 0x10) continue;
                literals = literalLength(op);
            }
            copyLiteral(literals);
            op = next();
        }
    }

  private:
    std::span<const uint8_t> in_;
    std::span<uint8_t> out_;
    size_t inPos_ = 0;
    size_t outPos_ = 0;
};

}  // namespace

size_t DWGLZ77::decompress(std::span<const uint8_t> in, std::span<uint8_t> out) {
    return Decoder(in, out).run();
}

}  // namespace vistrel
