#include "cad/dwg/DWGR2007LZ.h"

#include <cstring>

#include "cad/dwg/DWGSections.h"

namespace vistrel {

namespace {

// For a literal run of n bytes (1..32), the blocks that make it, in target order: a block of
// k bytes at source index i is itself laid out as the run of k bytes is.
struct Block {
    uint8_t length;
    uint8_t from;
};
struct Shuffle {
    uint8_t count;
    Block blocks[5];
};
constexpr Shuffle shuffles[33] = {
    {0, {}},
    {1, {{1, 0}}},
    {2, {{1, 1}, {1, 0}}},
    {3, {{1, 2}, {1, 1}, {1, 0}}},
    {4, {{1, 0}, {1, 1}, {1, 2}, {1, 3}}},
    {2, {{1, 4}, {4, 0}}},
    {3, {{1, 5}, {4, 1}, {1, 0}}},
    {3, {{2, 5}, {4, 1}, {1, 0}}},
    {2, {{4, 0}, {4, 4}}},
    {2, {{1, 8}, {8, 0}}},
    {3, {{1, 9}, {8, 1}, {1, 0}}},
    {3, {{2, 9}, {8, 1}, {1, 0}}},
    {2, {{4, 8}, {8, 0}}},
    {3, {{1, 12}, {4, 8}, {8, 0}}},
    {4, {{1, 13}, {4, 9}, {8, 1}, {1, 0}}},
    {4, {{2, 13}, {4, 9}, {8, 1}, {1, 0}}},
    {2, {{8, 8}, {8, 0}}},
    {3, {{8, 9}, {1, 8}, {8, 0}}},
    {3, {{1, 17}, {16, 1}, {1, 0}}},
    {2, {{3, 16}, {16, 0}}},
    {2, {{4, 16}, {16, 0}}},
    {3, {{1, 20}, {4, 16}, {16, 0}}},
    {3, {{2, 20}, {4, 16}, {16, 0}}},
    {3, {{3, 20}, {4, 16}, {16, 0}}},
    {2, {{8, 16}, {16, 0}}},
    {3, {{8, 17}, {1, 16}, {16, 0}}},
    {4, {{1, 25}, {8, 17}, {1, 16}, {16, 0}}},
    {4, {{2, 25}, {8, 17}, {1, 16}, {16, 0}}},
    {3, {{4, 24}, {8, 16}, {16, 0}}},
    {4, {{1, 28}, {4, 24}, {8, 16}, {16, 0}}},
    {4, {{2, 28}, {4, 24}, {8, 16}, {16, 0}}},
    {5, {{1, 30}, {4, 26}, {8, 18}, {16, 2}, {2, 0}}},
    {2, {{16, 16}, {16, 0}}},
};

// Source index of each target byte, per run length, flattened once from the blocks above.
struct Permutations {
    uint8_t of[33][32] = {};
    constexpr Permutations() {
        for (int n = 1; n <= 32; ++n) {
            int at = 0;
            for (int b = 0; b < shuffles[n].count; ++b) {
                const Block block = shuffles[n].blocks[b];
                for (int i = 0; i < block.length; ++i) {
                    of[n][at++] =
                        uint8_t(block.from + (block.length == 1 ? 0 : of[block.length][i]));
                }
            }
        }
    }
};
constexpr Permutations permutations;

class Decoder {
  public:
    Decoder(std::span<const uint8_t> in, std::span<uint8_t> out) : in_(in), out_(out) {}

    uint8_t next() {
        if (inPos_ >= in_.size()) throw DWGFormatError("DWG page: compressed data ends early");
        return in_[inPos_++];
    }

    size_t literalLength(uint8_t op) {
        size_t length = size_t(op) + 8;
        if (length == 0x17) {
            size_t n = next();
            length += n;
            if (n == 0xFF) {
                do {
                    n = next();
                    n |= size_t(next()) << 8;
                    length += n;
                } while (n == 0xFFFF);
            }
        }
        return length;
    }

    void copyLiteral(size_t n) {
        if (n > in_.size() - inPos_) throw DWGFormatError("DWG page: literal run past the input");
        if (n > out_.size() - outPos_) throw DWGFormatError("DWG page: literal run past the page");
        const uint8_t* src = in_.data() + inPos_;
        uint8_t* dst = out_.data() + outPos_;
        inPos_ += n;
        outPos_ += n;
        for (; n >= 32; n -= 32, src += 32, dst += 32) shuffle(32, src, dst);
        if (n > 0) shuffle(n, src, dst);
    }

    static void shuffle(size_t n, const uint8_t* src, uint8_t* dst) {
        const uint8_t* from = permutations.of[n];
        for (size_t i = 0; i < n; ++i) dst[i] = src[from[i]];
    }

    void copyBack(size_t distance, size_t n) {
        if (distance == 0 || distance > outPos_) {
            throw DWGFormatError("DWG page: reference before the page start");
        }
        if (n > out_.size() - outPos_) throw DWGFormatError("DWG page: reference past the page");
        uint8_t* dst = out_.data() + outPos_;
        const uint8_t* src = dst - distance;
        if (distance >= n) {
            std::memcpy(dst, src, n);
        } else {
            for (size_t i = 0; i < n; ++i) dst[i] = src[i];
        }
        outPos_ += n;
    }

    // Reads a back-reference's distance and length; `op` becomes the byte whose low three bits
    // say how many literals follow.
    void instruction(uint8_t& op, size_t& distance, size_t& length) {
        switch (op >> 4) {
            case 0:
                length = (op & 0x0F) + 0x13;
                distance = next();
                op = next();
                length += (op >> 3) & 0x10;
                distance += ((op & 0x78) << 5) + 1;
                break;
            case 1:
                length = (op & 0x0F) + 3;
                distance = next();
                op = next();
                distance += ((op & 0xF8) << 5) + 1;
                break;
            case 2:
                distance = next();
                distance |= size_t(next()) << 8;
                length = op & 7;
                if ((op & 8) == 0) {
                    op = next();
                    length += op & 0xF8;
                } else {
                    ++distance;
                    length += size_t(next()) << 3;
                    op = next();
                    length += (size_t(op & 0xF8) << 8) + 0x100;
                }
                break;
            default:
                length = op >> 4;
                distance = op & 0x0F;
                op = next();
                distance += ((op & 0xF8) << 1) + 1;
                break;
        }
    }

    size_t run() {
        if (in_.empty()) return 0;
        uint8_t op = next();
        size_t literals = 0;
        if ((op >> 4) == 2) {
            next();
            next();
            literals = next() & 7;
        }
        while (inPos_ < in_.size()) {
            if (literals == 0) literals = literalLength(op);
            copyLiteral(literals);
            literals = 0;
            if (inPos_ >= in_.size()) break;
            op = next();
            for (;;) {
                size_t distance = 0;
                size_t length = 0;
                instruction(op, distance, length);
                copyBack(distance, length);
                literals = op & 7;
                if (literals != 0 || inPos_ >= in_.size()) break;
                op = next();
                if ((op >> 4) == 0) break;
                if ((op >> 4) == 0x0F) op &= 0x0F;
            }
        }
        return outPos_;
    }

  private:
    std::span<const uint8_t> in_;
    std::span<uint8_t> out_;
    size_t inPos_ = 0;
    size_t outPos_ = 0;
};

}  // namespace

size_t DWGR2007LZ::decompress(std::span<const uint8_t> in, std::span<uint8_t> out) {
    return Decoder(in, out).run();
}

}  // namespace vistrel
