#include "cad/dwg/DWGR2004Container.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "cad/dwg/DWGLZ77.h"

namespace vistrel {

namespace {

constexpr uint32_t pageMapType = 0x41630E3B;
constexpr uint32_t sectionMapType = 0x4163003B;
constexpr uint32_t dataPageType = 0x4163043B;
constexpr uint32_t dataPageMask = 0x4164536B;
constexpr size_t systemHeaderBytes = 0x14;
constexpr size_t dataHeaderBytes = 0x20;
// System pages hold maps of a few bytes per page: far below this even for huge drawings.
constexpr uint32_t maxSystemPageBytes = 64u << 20;
// Data pages are 0x7400 bytes decompressed in every file seen; leave room, but not a lot.
constexpr uint32_t maxDataPageBytes = 1u << 20;

uint32_t le32(std::span<const uint8_t> b, size_t at) {
    if (at > b.size() || b.size() - at < 4) throw DWGFormatError("DWG: read past the end");
    return uint32_t{b[at]} | uint32_t{b[at + 1]} << 8 | uint32_t{b[at + 2]} << 16 |
           uint32_t{b[at + 3]} << 24;
}

uint64_t le64(std::span<const uint8_t> b, size_t at) {
    return uint64_t{le32(b, at)} | uint64_t{le32(b, at + 4)} << 32;
}

// Bytes [offset, offset + length) of `b`, checked.
std::span<const uint8_t> slice(std::span<const uint8_t> b, uint64_t offset, uint64_t length,
                               const char* what) {
    if (offset > b.size() || length > b.size() - offset) {
        throw DWGFormatError(std::string("DWG: ") + what + " lies past the end of the file");
    }
    return b.subspan(size_t(offset), size_t(length));
}

struct FileHeader {
    uint64_t pageMapAddress = 0;
    uint32_t sectionMapId = 0;
    uint64_t copyAddress = 0;  // where the closing copy of the encrypted block starts
};

// The 0x6C bytes at 0x80 are XOR-ed with a linear-congruential byte sequence seeded with 1.
FileHeader readFileHeader(std::span<const uint8_t> file) {
    std::array<uint8_t, 0x6C> plain{};
    auto cipher = slice(file, 0x80, plain.size(), "the file header");
    uint32_t seed = 1;
    for (size_t i = 0; i < plain.size(); ++i) {
        seed = seed * 0x343FD + 0x269EC3;
        plain[i] = cipher[i] ^ uint8_t(seed >> 16);
    }
    if (std::memcmp(plain.data(), "AcFssFcAJMB", 12) != 0) {
        throw DWGFormatError("DWG: the file header does not decrypt");
    }
    FileHeader h;
    h.pageMapAddress = le64(plain, 0x54) + 0x100;
    h.sectionMapId = le32(plain, 0x5C);
    h.copyAddress = le64(plain, 0x34);
    return h;
}

// A system page: five longs (type, decompressed size, compressed size, compression, checksum)
// and its data.
std::vector<uint8_t> readSystemPage(std::span<const uint8_t> file, uint64_t address, uint32_t type,
                                    const char* what) {
    auto head = slice(file, address, systemHeaderBytes, what);
    if (le32(head, 0) != type) throw DWGFormatError(std::string("DWG: no ") + what + " found");
    const uint32_t size = le32(head, 4);
    const uint32_t compressedSize = le32(head, 8);
    const uint32_t compression = le32(head, 12);
    if (size > maxSystemPageBytes) throw DWGFormatError(std::string("DWG: oversized ") + what);
    auto data = slice(file, address + systemHeaderBytes, compressedSize, what);
    std::vector<uint8_t> out(size);
    if (compression == 2) {
        if (DWGLZ77::decompress(data, out) != size) {
            throw DWGFormatError(std::string("DWG: ") + what + " decompresses short");
        }
    } else if (compressedSize == size) {
        std::copy(data.begin(), data.end(), out.begin());
    } else {
        throw DWGFormatError(std::string("DWG: unknown compression of the ") + what);
    }
    return out;
}

struct Page {
    int64_t id;
    uint64_t address;
    uint64_t size;
};

// Pairs of (page number, page size) in file order from 0x100; a negative number marks a gap,
// followed by four longs of its own.
std::vector<Page> readPageMap(std::span<const uint8_t> map, size_t fileSize) {
    std::vector<Page> pages;
    uint64_t address = 0x100;
    for (size_t at = 0; at + 8 <= map.size();) {
        const int32_t id = int32_t(le32(map, at));
        const uint32_t size = le32(map, at + 4);
        at += 8;
        if (id < 0) {
            at += 16;
        } else {
            // The last page (the page map itself) may claim more than the file holds: keep
            // what is there, and let each reader check that its own bytes are.
            const uint64_t held =
                address < fileSize ? std::min<uint64_t>(size, fileSize - address) : 0;
            pages.push_back({id, address, held});
        }
        address += size;
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
    std::string name;
    uint64_t size = 0;
    uint32_t maxPageSize = 0;
    bool compressed = true;
    uint32_t encrypted = 0;
    struct PageRef {
        uint32_t id;
        uint32_t dataSize;
        uint64_t offset;
    };
    std::vector<PageRef> pages;
};

std::vector<SectionEntry> readSectionMap(std::span<const uint8_t> map) {
    const uint32_t count = le32(map, 0);
    // Each description takes 0x60 bytes at least: a count the map cannot hold is a lie.
    if (count > map.size() / 0x60) throw DWGFormatError("DWG: section count past the map");
    std::vector<SectionEntry> sections;
    sections.reserve(count);
    size_t at = 0x14;
    for (uint32_t i = 0; i < count; ++i) {
        SectionEntry s;
        s.size = le64(map, at);
        const uint32_t pageCount = le32(map, at + 8);
        s.maxPageSize = le32(map, at + 12);
        s.compressed = le32(map, at + 20) == 2;
        s.encrypted = le32(map, at + 28);
        auto name = slice(map, at + 32, 64, "a section name");
        s.name.assign(reinterpret_cast<const char*>(name.data()),
                      strnlen(reinterpret_cast<const char*>(name.data()), name.size()));
        at += 0x60;
        if (pageCount > (map.size() - std::min(at, map.size())) / 16) {
            throw DWGFormatError("DWG: page count past the section map");
        }
        s.pages.reserve(pageCount);
        for (uint32_t p = 0; p < pageCount; ++p, at += 16) {
            s.pages.push_back({le32(map, at), le32(map, at + 4), le64(map, at + 8)});
        }
        sections.push_back(std::move(s));
    }
    return sections;
}

std::vector<uint8_t> assemble(std::span<const uint8_t> file, const SectionEntry& s,
                              const std::vector<Page>& pageMap) {
    if (s.encrypted == 1) throw DWGFormatError("DWG: encrypted section " + s.name);
    if (s.maxPageSize == 0 || s.maxPageSize > maxDataPageBytes) {
        throw DWGFormatError("DWG: bad page size in section " + s.name);
    }
    if (s.size > uint64_t{s.maxPageSize} * s.pages.size() ||
        s.size > DWGR2004Container::maxSectionBytes) {
        throw DWGFormatError("DWG: section " + s.name + " is larger than its pages");
    }
    std::vector<uint8_t> out(size_t(s.size));
    std::vector<uint8_t> scratch;
    for (const auto& ref : s.pages) {
        const Page& page = findPage(pageMap, ref.id);
        auto raw = slice(file, page.address, page.size, "a data page");
        if (raw.size() < dataHeaderBytes) throw DWGFormatError("DWG: data page too small");
        std::array<uint8_t, dataHeaderBytes> head;
        const uint32_t mask = dataPageMask ^ uint32_t(page.address);
        for (size_t i = 0; i < head.size(); i += 4) {
            const uint32_t v = le32(raw, i) ^ mask;
            for (size_t k = 0; k < 4; ++k) head[i + k] = uint8_t(v >> (8 * k));
        }
        if (le32(head, 0) != dataPageType) throw DWGFormatError("DWG: not a data page");
        const uint32_t dataSize = le32(head, 8);
        const uint64_t offset = le64(head, 16);
        if (dataSize > raw.size() - dataHeaderBytes || offset != ref.offset) {
            throw DWGFormatError("DWG: data page header disagrees with section " + s.name);
        }
        if (offset >= out.size()) continue;  // a page of padding past the section's end
        auto data = raw.subspan(dataHeaderBytes, dataSize);
        // Every page decompresses to maxPageSize; the last one holds the section's tail and
        // padding, so it goes through a scratch page and only the tail is kept.
        const size_t keep = std::min<size_t>(s.maxPageSize, out.size() - size_t(offset));
        std::span<uint8_t> dst(out.data() + offset, keep);
        if (keep < s.maxPageSize) {
            scratch.resize(s.maxPageSize);
            dst = scratch;
        }
        if (s.compressed) {
            DWGLZ77::decompress(data, dst);
        } else {
            if (data.size() < keep) throw DWGFormatError("DWG: stored page too short");
            std::copy_n(data.begin(), std::min(data.size(), dst.size()), dst.begin());
        }
        if (keep < s.maxPageSize) std::copy_n(scratch.begin(), keep, out.begin() + offset);
    }
    return out;
}

}  // namespace

DWGSections DWGR2004Container::read(std::span<const uint8_t> file) {
    if (file.size() < 0x100) throw DWGFormatError("DWG: file shorter than its header");
    const auto version =
        dwgVersion(std::string_view(reinterpret_cast<const char*>(file.data()), 6));
    if (!version || *version < DWGVersion::r2004 || *version == DWGVersion::r2007) {
        throw DWGFormatError("DWG: not a release of the R2004 container");
    }
    DWGSections out;
    out.version = *version;
    out.codePage = uint16_t(file[0x13] | file[0x14] << 8);

    const FileHeader header = readFileHeader(file);
    // The file closes with a copy of the encrypted block: a file without it was cut.
    slice(file, header.copyAddress, 0x6C, "the closing file header");
    const auto pageMap = readPageMap(
        readSystemPage(file, header.pageMapAddress, pageMapType, "page map"), file.size());
    const Page& mapPage = findPage(pageMap, header.sectionMapId);
    const auto sections =
        readSectionMap(readSystemPage(file, mapPage.address, sectionMapType, "section map"));

    auto take = [&](std::string_view name, std::span<const uint8_t>& into, bool required) {
        for (const auto& s : sections) {
            if (s.name != name) continue;
            out.storage.push_back(assemble(file, s, pageMap));
            into = out.storage.back();
            return;
        }
        if (required) throw DWGFormatError("DWG: no section " + std::string(name));
    };
    out.storage.reserve(5);
    take("AcDb:Header", out.header, true);
    take("AcDb:Classes", out.classes, true);
    take("AcDb:Handles", out.handles, true);
    take("AcDb:AcDbObjects", out.objects, true);
    take("AcDb:Preview", out.preview, false);
    return out;
}

}  // namespace vistrel
