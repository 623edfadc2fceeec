#include "cad/dwg/DWGBitReader.h"

#include "cad/dwg/DWGObject.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

namespace vistrel {
namespace {

// Packs values most significant bit first, as DWG streams store them.
struct Bits {
    std::vector<uint8_t> bytes;
    size_t count = 0;

    Bits& put(uint64_t value, unsigned width) {
        for (unsigned i = width; i-- > 0;) {
            if (count % 8 == 0) bytes.push_back(0);
            if ((value >> i) & 1) bytes.back() |= uint8_t(0x80 >> (count % 8));
            ++count;
        }
        return *this;
    }
    Bits& le(uint64_t value, unsigned byteCount) {
        for (unsigned i = 0; i < byteCount; ++i) put((value >> (8 * i)) & 0xFF, 8);
        return *this;
    }
    Bits& rd(double d) {
        uint64_t v;
        std::memcpy(&v, &d, 8);
        return le(v, 8);
    }
};

TEST(DWGBitReader, bitCodesDecodeTheirEdgeValues) {
    Bits b;
    b.put(1, 1).put(2, 2);                                                 // B, BB
    b.put(0, 1).put(0b10, 2).put(0b111, 3);                                // 3B: 0, 2, 7
    b.put(0, 2).le(0xFFFF, 2).put(1, 2).put(0xFF, 8).put(2, 2).put(3, 2);  // BS
    b.put(0, 2).le(0x80000000, 4).put(1, 2).put(0x7F, 8).put(2, 2);        // BL
    b.put(2, 3).le(0x1234, 2);                                             // BLL
    b.put(0, 2).rd(-2.5).put(1, 2).put(2, 2);                              // BD
    b.put(0, 2).put(1, 2).le(1, 4).put(2, 2).le(0x8000, 2).le(0, 4).put(3, 2).rd(7.0);  // DD
    b.le(0x82, 1).le(0x01, 1).le(0x41, 1);              // MC 130, -1
    b.le(0xFF, 1).le(0x7F, 1);                          // UMC
    b.le(0x8001, 2).le(0x0002, 2);                      // MS
    b.put(0x5, 4).put(2, 4).le(0x012A, 1).le(0x02, 1);  // H 5.2 0x2A02
    b.put(0xC, 4).put(1, 4).le(3, 1);                   // H C.1 3
    DWGBitReader r(b.bytes);

    EXPECT_EQ(r.readB(), 1);
    EXPECT_EQ(r.readBB(), 2);
    EXPECT_EQ(r.read3B(), 0);
    EXPECT_EQ(r.read3B(), 2);
    EXPECT_EQ(r.read3B(), 7);
    EXPECT_EQ(r.readBS(), -1);
    EXPECT_EQ(r.readBS(), 255);
    EXPECT_EQ(r.readBS(), 0);
    EXPECT_EQ(r.readBS(), 256);
    EXPECT_EQ(r.readBL(), int32_t(0x80000000));
    EXPECT_EQ(r.readBL(), 0x7F);
    EXPECT_EQ(r.readBL(), 0);
    EXPECT_EQ(r.readBLL(), 0x1234u);
    EXPECT_EQ(r.readBD(), -2.5);
    EXPECT_EQ(r.readBD(), 1.0);
    EXPECT_EQ(r.readBD(), 0.0);
    EXPECT_EQ(r.readDD(3.5), 3.5);
    EXPECT_EQ(r.readDD(1.0), std::nextafter(1.0, 2.0));  // low four bytes replaced
    EXPECT_EQ(r.readDD(100.0), 102.0);                   // bytes 5 and 6 too
    EXPECT_EQ(r.readDD(3.5), 7.0);
    EXPECT_EQ(r.readMC(), 130);
    EXPECT_EQ(r.readMC(), -1);
    EXPECT_EQ(r.readUMC(), 0x3FFFu);
    EXPECT_EQ(r.readMS(), 0x10001u);
    const DWGHandleRef h = r.readH();
    EXPECT_EQ(h.code, 5);
    EXPECT_EQ(h.value, 0x2A02u);
    EXPECT_EQ(h.absolute(0x100), 0x2A02u);
    EXPECT_EQ(r.readH().absolute(0x100), 0xFDu);
    EXPECT_EQ((DWGHandleRef{6, 0}.absolute(0x100)), 0x101u);
    EXPECT_EQ((DWGHandleRef{8, 0}.absolute(0x100)), 0xFFu);
    EXPECT_EQ((DWGHandleRef{0xA, 4}.absolute(0x100)), 0x104u);
    EXPECT_FALSE(r.overrun());
    EXPECT_EQ(r.bitsLeft(), r.bitSize() - b.count);
}

TEST(DWGBitReader, versionDependentCodesAndStrings) {
    Bits b;
    b.put(1, 1);                             // BE R2000: default normal
    b.put(1, 2).put(2, 2).put(0, 2).rd(-1);  // BE R14: 3BD (1, 0, -1)
    b.put(1, 1).put(0, 1).put(1, 2);         // BT R2000: 0, then BD 1
    b.put(0, 2).put(0x10, 8).put(1, 2).put(0x33, 8).put(2, 2).le(0x1F2, 2);  // OT R2010
    b.put(1, 2).put(4, 8).le(0x00418041, 4);                        // TV 1252, dropping the NUL
    b.put(1, 2).put(3, 8).le(0xE9, 2).le(0xD83D, 2).le(0xDE00, 2);  // TU with a surrogate pair
    b.put(1, 2).put(7, 8).put(0, 2).le(0xC2FF8000, 4).le(0, 1);     // CMC R2004: true colour
    b.put(0, 2).le(0x8000 | 0x2000 | 5, 2).put(0, 2).le(0xC3000003, 4).put(2, 2);  // ENC
    b.put(1, 2).put(0x27, 8);  // OT before R2010: BS
    DWGBitReader r(b.bytes, 30);

    EXPECT_EQ(r.readBE(DWGVersion::r2000).z, 1.0);
    const DWGPoint3 e = r.readBE(DWGVersion::r14);
    EXPECT_EQ(e.x, 1.0);
    EXPECT_EQ(e.y, 0.0);
    EXPECT_EQ(e.z, -1.0);
    EXPECT_EQ(r.readBT(DWGVersion::r2000), 0.0);
    EXPECT_EQ(r.readBT(DWGVersion::r2000), 1.0);
    EXPECT_EQ(r.readOT(DWGVersion::r2010), 0x10);
    EXPECT_EQ(r.readOT(DWGVersion::r2010), 0x33 + 0x1F0);
    EXPECT_EQ(r.readOT(DWGVersion::r2010), 0x1F2);
    EXPECT_EQ(r.readTV(),
              "A\xE2\x82\xAC"
              "A");  // 0x80 is the euro sign in 1252
    EXPECT_EQ(r.readTU(), "\xC3\xA9\xF0\x9F\x98\x80");
    const DWGColor cmc = r.readCMC(DWGVersion::r2004);
    EXPECT_TRUE(cmc.trueColor);
    EXPECT_EQ(cmc.rgb, 0xFF8000u);
    const DWGColor enc = r.readENC(DWGVersion::r2004);
    EXPECT_EQ(enc.index, 3);  // the RGB word says indexed colour 3
    EXPECT_FALSE(enc.trueColor);
    EXPECT_EQ(r.readOT(DWGVersion::r2000), 0x27);
    EXPECT_FALSE(r.overrun());

    // Other code pages read as Latin-1.
    const uint8_t raw[] = {'a', 0x80, 0xE9};
    EXPECT_EQ(DWGBitReader::decodeCodePage(raw, 29), "a\xC2\x80\xC3\xA9");
}

TEST(DWGBitReader, runningPastTheEndYieldsZerosAndSticks) {
    Bits b;
    b.put(0, 2).le(0x11223344, 2);  // a BL cut after two of its four bytes
    DWGBitReader r(b.bytes);
    EXPECT_EQ(r.readBL(), 0);
    EXPECT_TRUE(r.overrun());
    EXPECT_EQ(r.bitPosition(), r.bitSize());
    EXPECT_EQ(r.readRD(), 0.0);
    EXPECT_EQ(r.readH().value, 0u);
    EXPECT_TRUE(r.overrun());

    Bits s;
    s.put(0, 2).le(4000, 2).le('x', 1);  // a TV longer than its stream
    DWGBitReader t(s.bytes);
    EXPECT_EQ(t.readTV(), "");
    EXPECT_TRUE(t.overrun());

    const uint8_t endless[] = {0x80, 0x80, 0x80};  // a modular char without its last byte
    DWGBitReader m(endless);
    EXPECT_EQ(m.readMC(), 0);
    EXPECT_TRUE(m.overrun());

    // A limit stops reads before the bytes end; an unaligned raw short spans two bytes.
    const uint8_t two[] = {0x81, 0x02, 0xFF};
    DWGBitReader l(two);
    EXPECT_EQ(l.readB(), 1);
    EXPECT_EQ(l.readRS(), 0x0502);
    l.limitTo(17);
    EXPECT_EQ(l.readB(), 0);
    EXPECT_TRUE(l.overrun());
}

// A LAYER-like object of R2007 and of R2010 whose name sits in the string stream, found back
// from the end of the data: its size in bits just before the flag bit that ends the data.
TEST(DWGObject, stringStreamAndHandlesAreFoundFromTheirSizes) {
    for (DWGVersion v : {DWGVersion::r2007, DWGVersion::r2010}) {
        Bits strings;
        strings.put(1, 2).put(4, 8).le('W', 2).le('a', 2).le('l', 2).le('l', 2);
        auto body = [&](uint32_t dataBits, uint32_t handleBits) {
            Bits b;
            if (v >= DWGVersion::r2010)
                b.put(handleBits, 8).put(0, 2).put(51, 8);  // MC, BOT
            else
                b.put(1, 2).put(51, 8).le(dataBits, 4);  // BS type, RL data size
            b.put(0, 4).put(1, 4).put(0x2A, 8);          // handle 0x2A
            b.put(2, 2).put(2, 2).put(1, 1);             // no EED, no reactors, no dictionary
            for (size_t i = 0; i < strings.count; ++i)
                b.put((strings.bytes[i / 8] >> (7 - i % 8)) & 1, 1);
            b.le(strings.count, 2).put(1, 1);  // the stream's size, then its flag
            const size_t end = b.count;
            b.put(4, 4).put(1, 4).put(2, 8);  // owner, 4.1.2
            while (b.count % 8) b.put(0, 1);
            return std::pair{b, end};
        };
        auto [first, dataEnd] = body(0, 0);
        auto [object, unused] = body(uint32_t(dataEnd), uint32_t(first.count - dataEnd));
        // MS; from R2010 it counts the bytes after the one-byte MC.
        const size_t counted = object.bytes.size() - (v >= DWGVersion::r2010 ? 1 : 0);
        std::vector<uint8_t> file = {uint8_t(counted), 0};
        file.insert(file.end(), object.bytes.begin(), object.bytes.end());
        DWGObject o;
        ASSERT_TRUE(o.open(file, 0, v, 30));
        EXPECT_EQ(o.type(), 51);
        EXPECT_EQ(o.handle(), 0x2Au);
        o.readObjectCommon();
        EXPECT_EQ(o.text(), "Wall");
        EXPECT_EQ(o.readReference(), 2u);
        EXPECT_FALSE(o.broken());
    }
}

}  // namespace
}  // namespace vistrel
