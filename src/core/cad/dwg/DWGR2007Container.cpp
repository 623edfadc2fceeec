#include "cad/dwg/DWGR2007Container.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "cad/dwg/DWGR2004Container.h"
#include "cad/dwg/DWGR2007LZ.h"

namespace vistrel {

namespace {

constexpr uint64_t pageBase = 0x480;  // page offsets count from the end of the file header
constexpr size_t systemK = 239;       // data bytes per 255-byte block of system pages
constexpr size_t dataK = 251;         // and of data pages
constexpr uint64_t maxSystemPageBytes = 64u << 20;
constexpr uint64_t maxDataPageBytes = 1u << 22;

uint64_t le64(std::span<const uint8_t> b, size_t at) {
    if (at > b.size() || b.size() - at < 8) throw DWGFormatError("DWG: read past the end");
    uint64_t v = 0;
    for (size_t i = 0; i < 8; ++i) v |= uint64_t{b[at + i]} << (8 * i);
    return v;
}

std::span<const uint8_t> slice(std::span<const uint8_t> b, uint64_t offset, uint64_t length,
                               const char* what) {
    if (offset > b.size() || length > b.size() - offset) {
        throw DWGFormatError(std::string("DWG: ") + what + " lies past the end of the file");
    }
    return b.subspan(size_t(offset), size_t(length));
}

// The data bytes of `blocks` Reed-Solomon codewords of 255 bytes, k of them data. Interleaved
// codewords put byte j of block i at j * blocks + i; others lie one after the other.
std::vector<uint8_t> dropParity(std::span<const uint8_t> coded, size_t blocks, size_t k,
                                bool interleaved) {
    std::vector<uint8_t> data(blocks * k);
    if (!interleaved) {
        for (size_t i = 0; i < blocks; ++i)
            std::copy_n(coded.begin() + std::ptrdiff_t(i * 255), k,
                        data.begin() + std::ptrdiff_t(i * k));
        return data;
    }
    // A transpose, in tiles that stay in the cache on both sides.
    constexpr size_t tile = 32;
    for (size_t i0 = 0; i0 < blocks; i0 += tile) {
        const size_t i1 = std::min(blocks, i0 + tile);
        for (size_t j0 = 0; j0 < k; j0 += tile) {
            const size_t j1 = std::min(k, j0 + tile);
            for (size_t j = j0; j < j1; ++j)
                for (size_t i = i0; i < i1; ++i) data[i * k + j] = coded[j * blocks + i];
        }
    }
    return data;
}

// Decompresses `data` to exactly `size` bytes, or takes it as stored when it is not smaller.
void expand(std::span<const uint8_t> data, std::span<uint8_t> out, const char* what) {
    if (data.size() >= out.size()) {
        std::copy_n(data.begin(), out.size(), out.begin());
    } else if (DWGR2007LZ::decompress(data, out) != out.size()) {
        throw DWGFormatError(std::string("DWG: ") + what + " decompresses short");
    }
}

struct FileHeader {
    uint64_t fileSize;
    uint64_t pagesMapOffset, pagesMapCompressed, pagesMapSize, pagesMapFactor;
    uint64_t sectionsMapId, sectionsMapCompressed, sectionsMapSize, sectionsMapFactor;
};

FileHeader readFileHeader(std::span<const uint8_t> file) {
    // Three interleaved codewords of 239 data bytes hold the header and its compression frame.
    auto coded = slice(file, 0x80, 3 * 255, "the file header");
    const auto frame = dropParity(coded, 3, systemK, true);
    const int32_t compressedLength = int32_t(le64(frame, 0x18));
    std::vector<uint8_t> plain(0x110);
    if (compressedLength < 0) {
        if (size_t(-int64_t(compressedLength)) < plain.size() ||
            0x20 + plain.size() > frame.size()) {
            throw DWGFormatError("DWG: file header too short");
        }
        std::copy_n(frame.begin() + 0x20, plain.size(), plain.begin());
    } else {
        if (size_t(compressedLength) > frame.size() - 0x20) {
            throw DWGFormatError("DWG: file header frame too long");
        }
        auto data = std::span(frame).subspan(0x20, size_t(compressedLength));
        expand(data, plain, "file header");
    }
    FileHeader h;
    h.fileSize = le64(plain, 0x08);
    h.pagesMapFactor = le64(plain, 0x18);
    h.pagesMapOffset = le64(plain, 0x38);
    h.pagesMapCompressed = le64(plain, 0x50);
    h.pagesMapSize = le64(plain, 0x58);
    h.sectionsMapCompressed = le64(plain, 0xB0);
    h.sectionsMapId = le64(plain, 0xC0);
    h.sectionsMapSize = le64(plain, 0xC8);
    h.sectionsMapFactor = le64(plain, 0xD8);
    return h;
}

// A system page holds its (compressed) data `factor` times over, padded to 8 bytes, in
// interleaved codewords.
std::vector<uint8_t> readSystemPage(std::span<const uint8_t> file, uint64_t address,
                                    uint64_t compressed, uint64_t size, uint64_t factor,
                                    const char* what) {
    if (size > maxSystemPageBytes || compressed > maxSystemPageBytes || factor == 0 ||
        factor > 64) {
        throw DWGFormatError(std::string("DWG: implausible ") + what);
    }
    const uint64_t aligned = (compressed + 7) & ~uint64_t{7};
    const uint64_t blocks = std::max<uint64_t>(1, (aligned * factor + systemK - 1) / systemK);
    auto coded = slice(file, address, blocks * 255, what);
    const auto data = dropParity(coded, size_t(blocks), systemK, true);
    if (compressed > data.size()) throw DWGFormatError(std::string("DWG: short ") + what);
    std::vector<uint8_t> out(static_cast<size_t>(size));
    expand(std::span(data).first(size_t(compressed)), out, what);
    return out;
}

struct Page {
    int64_t id;
    uint64_t offset;
    uint64_t size;
};

std::vector<Page> readPageMap(std::span<const uint8_t> map) {
    std::vector<Page> pages;
    pages.reserve(map.size() / 16);
    uint64_t offset = 0;
    for (size_t at = 0; at + 16 <= map.size(); at += 16) {
        const uint64_t size = le64(map, at);
        const int64_t id = int64_t(le64(map, at + 8));
        pages.push_back({id < 0 ? -id : id, offset, size});
        offset += size;
    }
    std::sort(pages.begin(), pages.end(), [](const Page& a, const Page& b) { return a.id < b.id; });
    return pages;
}

const Page& findPage(const std::vector<Page>& pages, int64_t id) {
    auto it = std::lower_bound(pages.begin(), pages.end(), id,
                               [](const Page& p, int64_t v) { return p.id < v; });
    if (it == pages.end() || it->id != id) throw DWGFormatError("DWG: a page is missing");
    return *it;
}

struct SectionEntry {
    std::u16string name;
    uint64_t size = 0;
    uint64_t maxSize = 0;
    uint64_t encrypted = 0;
    uint64_t encoding = 0;
    struct PageRef {
        uint64_t offset, id, size, compressed;
    };
    std::vector<PageRef> pages;
};

std::vector<SectionEntry> readSectionMap(std::span<const uint8_t> map) {
    std::vector<SectionEntry> sections;
    size_t at = 0;
    while (map.size() - at >= 0x40) {
        SectionEntry s;
        s.size = le64(map, at);
        s.maxSize = le64(map, at + 0x08);
        s.encrypted = le64(map, at + 0x10);
        const uint64_t nameLength = le64(map, at + 0x20);
        s.encoding = le64(map, at + 0x30);
        const uint64_t pageCount = le64(map, at + 0x38);
        at += 0x40;
        if (nameLength > 512 || pageCount > (map.size() - at) / 56) {
            throw DWGFormatError("DWG: section map entry past the map");
        }
        // The name's length counts UTF-16 bytes, its terminating zero included.
        auto name = slice(map, at, nameLength, "a section name");
        for (size_t i = 0; i + 1 < name.size(); i += 2) {
            const char16_t c = char16_t(name[i] | name[i + 1] << 8);
            if (c == 0) break;
            s.name.push_back(c);
        }
        at += size_t(nameLength);
        s.pages.reserve(size_t(pageCount));
        for (uint64_t p = 0; p < pageCount; ++p, at += 56) {
            s.pages.push_back(
                {le64(map, at), le64(map, at + 16), le64(map, at + 24), le64(map, at + 32)});
        }
        sections.push_back(std::move(s));
    }
    return sections;
}

std::vector<uint8_t> assemble(std::span<const uint8_t> file, const SectionEntry& s,
                              const std::vector<Page>& pageMap) {
    if (s.encrypted == 1) throw DWGFormatError("DWG: an encrypted section");
    // Pages of zeros are left out of the file, so the size cannot be summed from the pages;
    // it can still be bounded by them.
    if (s.size > (s.pages.size() + 1) * maxDataPageBytes ||
        s.size > DWGR2004Container::maxSectionBytes) {
        throw DWGFormatError("DWG: a section larger than its pages");
    }
    std::vector<uint8_t> out(size_t(s.size));
    std::vector<uint8_t> scratch;
    for (const auto& ref : s.pages) {
        if (ref.size > maxDataPageBytes || ref.compressed > maxDataPageBytes ||
            ref.offset >= out.size()) {
            throw DWGFormatError("DWG: a page outside its section");
        }
        const Page& page = findPage(pageMap, int64_t(ref.id));
        const uint64_t aligned = (ref.compressed + 7) & ~uint64_t{7};
        const uint64_t blocks = (aligned + dataK - 1) / dataK;
        if (blocks * 255 > page.size) throw DWGFormatError("DWG: a page larger than its slot");
        auto coded = slice(file, pageBase + page.offset, blocks * 255, "a data page");
        const auto data = dropParity(coded, size_t(blocks), dataK, s.encoding == 4);
        const size_t keep = std::min<size_t>(size_t(ref.size), out.size() - size_t(ref.offset));
        std::span<uint8_t> dst(out.data() + ref.offset, keep);
        if (keep < ref.size) {
            scratch.resize(size_t(ref.size));
            dst = scratch;
        }
        expand(std::span(data).first(size_t(ref.compressed)), dst, "a data page");
        if (keep < ref.size) std::copy_n(scratch.begin(), keep, out.begin() + ref.offset);
    }
    return out;
}

}  // namespace

DWGSections DWGR2007Container::read(std::span<const uint8_t> file) {
    if (file.size() < 0x480) throw DWGFormatError("DWG: file shorter than its header");
    if (std::string_view(reinterpret_cast<const char*>(file.data()), 6) != "AC1021") {
        throw DWGFormatError("DWG: not an AC1021 file");
    }
    DWGSections out;
    out.version = DWGVersion::r2007;
    out.codePage = uint16_t(file[0x13] | file[0x14] << 8);

    const FileHeader h = readFileHeader(file);
    if (h.fileSize > file.size()) throw DWGFormatError("DWG: the file is cut short");
    const auto pageMap =
        readPageMap(readSystemPage(file, pageBase + h.pagesMapOffset, h.pagesMapCompressed,
                                   h.pagesMapSize, h.pagesMapFactor, "page map"));
    const Page& mapPage = findPage(pageMap, int64_t(h.sectionsMapId));
    const auto sections =
        readSectionMap(readSystemPage(file, pageBase + mapPage.offset, h.sectionsMapCompressed,
                                      h.sectionsMapSize, h.sectionsMapFactor, "section map"));

    auto take = [&](std::u16string_view name, std::span<const uint8_t>& into, bool required) {
        for (const auto& s : sections) {
            if (s.name != name) continue;
            out.storage.push_back(assemble(file, s, pageMap));
            into = out.storage.back();
            return;
        }
        if (required) throw DWGFormatError("DWG: a mandatory section is missing");
    };
    out.storage.reserve(5);
    take(u"AcDb:Header", out.header, true);
    take(u"AcDb:Classes", out.classes, true);
    take(u"AcDb:Handles", out.handles, true);
    take(u"AcDb:AcDbObjects", out.objects, true);
    take(u"AcDb:Preview", out.preview, false);
    return out;
}

}  // namespace vistrel
