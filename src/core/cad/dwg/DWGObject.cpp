#include "cad/dwg/DWGObject.h"

namespace vistrel {

bool DWGObject::open(std::span<const uint8_t> objects, uint64_t offset, DWGVersion version,
                     uint16_t codePage) {
    version_ = version;
    owner_ = 0;
    common_ = {};
    if (offset >= objects.size()) return false;
    data = DWGBitReader(objects, codePage);
    data.seekByte(size_t(offset));
    const uint32_t size = data.readMS();
    start_ = data.bitPosition();
    if (data.overrun() || size == 0 || size > (objects.size() - start_ / 8)) return false;
    handlesAt_ = 0;
    if (version >= DWGVersion::r2010) {
        handleBits_ = data.readUMC();
        // The size counts from here, after the handle stream's size.
        start_ = data.bitPosition();
        if (data.overrun() || size > (objects.size() - start_ / 8) ||
            handleBits_ > size_t(size) * 8)
            return false;
    }
    end_ = start_ + size_t(size) * 8;
    data.limitTo(end_);
    if (version >= DWGVersion::r2010) handlesAt_ = end_ - size_t(handleBits_);
    type_ = data.readOT(version);
    if (version >= DWGVersion::r2000 && version <= DWGVersion::r2007) {
        const uint32_t bits = uint32_t(data.readRL());
        if (bits > size_t(size) * 8) return false;
        handlesAt_ = start_ + bits;
    }
    handle_ = data.readH().value;
    skipExtendedData();
    if (data.overrun()) return false;
    if (handlesAt_) startHandles(handlesAt_);
    return true;
}

void DWGObject::skipExtendedData() {
    for (int guard = 0; guard < 4096; ++guard) {
        const uint32_t size = uint16_t(data.readBS());
        if (size == 0 || data.overrun()) return;
        data.readH();
        data.skipBits(size_t(size) * 8);
    }
}

// Sets the handle stream at `bit`, and from R2007 finds the string stream that ends the data
// before it.
void DWGObject::startHandles(size_t bit) {
    handlesAt_ = bit;
    handles = data;
    handles.clearOverrun();
    handles.limitTo(end_);
    handles.seekBit(bit);
    if (bit < data.bitPosition()) handles.seekBit(handles.bitSize() + 1);  // marks it broken
    data.limitTo(bit);
    if (version_ < DWGVersion::r2007) return;
    strings = DWGBitReader();
    // The last data bit says whether a string stream precedes it; its size sits just before.
    DWGBitReader s = handles;
    s.clearOverrun();
    if (bit < start_ + 1) return;
    s.seekBit(bit - 1);
    if (!s.readB()) return;
    if (bit < start_ + 17) return;
    size_t at = bit - 1 - 16;
    s.seekBit(at);
    uint32_t size = uint16_t(s.readRS());
    if (size & 0x8000) {
        if (at < start_ + 16) return;
        at -= 16;
        s.seekBit(at);
        size = (size & 0x7FFF) | (uint32_t(uint16_t(s.readRS())) << 15);
    }
    if (size > at - start_) return;
    strings = s;
    strings.seekBit(at - size);
    strings.limitTo(at);  // after the seek: the size just read lies past it
}

void DWGObject::readEntityCommon() {
    if (data.readB()) {  // graphics
        const uint64_t size =
            version_ >= DWGVersion::r2010 ? data.readBLL() : uint32_t(data.readRL());
        if (size > data.bitsLeft() / 8)
            data.skipBits(data.bitsLeft() + 1);
        else
            data.skipBits(size_t(size) * 8);
    }
    if (version_ <= DWGVersion::r14) startHandles(start_ + uint32_t(data.readRL()));
    DWGEntityCommon& c = common_;
    c.entityMode = data.readBB();
    c.reactors = uint32_t(data.readBL());
    if (version_ >= DWGVersion::r2004) c.xdictionaryMissing = data.readB();
    if (version_ >= DWGVersion::r2013) data.readB();  // binary data in the data store
    if (version_ <= DWGVersion::r14) c.byLayerLinetype = data.readB();
    if (version_ <= DWGVersion::r2000) c.noLinks = data.readB();  // links are gone from R2004
    c.color = data.readENC(version_);
    data.readBD();  // linetype scale
    if (version_ >= DWGVersion::r2000) {
        c.linetypeFlags = data.readBB();
        c.plotStyleFlags = data.readBB();
    }
    if (version_ >= DWGVersion::r2007) {
        c.materialFlags = data.readBB();
        data.readRC();  // shadow flags
    }
    if (version_ >= DWGVersion::r2010) {
        c.fullVisualStyle = data.readB();
        c.faceVisualStyle = data.readB();
        c.edgeVisualStyle = data.readB();
    }
    data.readBS();                                     // invisibility
    if (version_ >= DWGVersion::r2000) data.readRC();  // lineweight
}

void DWGObject::readObjectCommon() {
    if (version_ <= DWGVersion::r14) startHandles(start_ + uint32_t(data.readRL()));
    common_.reactors = uint32_t(data.readBL());
    if (version_ >= DWGVersion::r2004) common_.xdictionaryMissing = data.readB();
    if (version_ >= DWGVersion::r2013) data.readB();
}

uint64_t DWGObject::readEntityHandles() {
    const DWGEntityCommon& c = common_;
    if (c.entityMode == 0) owner_ = readReference();
    for (uint32_t i = 0; i < c.reactors && !handles.overrun(); ++i) handles.readH();
    if (!c.xdictionaryMissing) handles.readH();
    uint64_t layer = 0;
    if (version_ <= DWGVersion::r14) {
        layer = readReference();
        if (!c.byLayerLinetype) handles.readH();
    }
    if (version_ <= DWGVersion::r2000 && !c.noLinks) {
        handles.readH();
        handles.readH();
    }
    if (version_ >= DWGVersion::r2004 && c.color.bookHandle) handles.readH();
    if (version_ >= DWGVersion::r2000) {
        layer = readReference();
        if (c.linetypeFlags == 3) handles.readH();
    }
    if (version_ >= DWGVersion::r2007 && c.materialFlags == 3) handles.readH();
    if (version_ >= DWGVersion::r2000 && c.plotStyleFlags == 3) handles.readH();
    if (version_ >= DWGVersion::r2010) {
        if (c.fullVisualStyle) handles.readH();
        if (c.faceVisualStyle) handles.readH();
        if (c.edgeVisualStyle) handles.readH();
    }
    return layer;
}

}  // namespace vistrel
