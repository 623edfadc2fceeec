#include "cad/dwg/DWGObjectReader.h"

#include <cctype>
#include <string_view>

#include "cad/dwg/DWGEntityReaders.h"
#include "model/SKPError.h"
#include "settings/Localization.h"

namespace vistrel {

namespace {

constexpr size_t pollEvery = 4096;

bool sameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(uint8_t(a[i])) != std::tolower(uint8_t(b[i]))) return false;
    return true;
}

template <typename T>
int lookup(const std::vector<std::pair<uint64_t, T>>& table, uint64_t handle, int missing) {
    auto it = std::lower_bound(table.begin(), table.end(), handle,
                               [](const auto& entry, uint64_t h) { return entry.first < h; });
    return it != table.end() && it->first == handle ? int(it->second) : missing;
}

}  // namespace

DWGObjectReader::DWGObjectReader(const DWGSections& sections,
                                 const SKPReader::ProgressCallback& progress,
                                 const SKPReader::CancelCheck& isCancelled)
    : sections_(sections), progress_(progress), isCancelled_(isCancelled) {}

CADDrawing DWGObjectReader::read() {
    if (progress_) progress_({L("Lecture des objets DWG…", "Reading DWG objects…"), 0, 0.15});
    map_ = DWGObjectMap::read(sections_.handles);
    classes_ = DWGClasses::read(sections_.classes, sections_.version, sections_.codePage);
    scan();
    readLayers();
    readBlocks();
    readEntities();
    return std::move(drawing_);
}

int DWGObjectReader::layerIndex(uint64_t handle) const {
    return lookup(layers_, handle, 0);
}

int DWGObjectReader::blockIndex(uint64_t handle) const {
    return lookup(blocks_, handle, -1);
}

bool DWGObjectReader::openAt(size_t info, DWGObject& o) {
    return o.open(sections_.objects, infos_[info].offset, sections_.version, sections_.codePage);
}

bool DWGObjectReader::isEntityType(uint16_t type) const {
    if (type >= 1 && type <= 41) return type != 9;
    if (type == 44 || type == 45 || type == 46 || type == 47 || type == 77 || type == 78 ||
        type == 0x1F2)
        return true;
    std::string_view name = classes_.dxfName(type);
    return name == "LWPOLYLINE" || name == "LWPLINE" || name == "HATCH" || name == "IMAGE" ||
           name == "WIPEOUT" || name == "MULTILEADER" || name == "ARC_DIMENSION" ||
           name == "LARGE_RADIAL_DIMENSION" || name == "ACAD_TABLE" || name == "OLE2FRAME";
}

// One pass over every object: its type, and for an entity its mode and owner.
void DWGObjectReader::scan() {
    const auto& entries = map_.entries();
    infos_.reserve(entries.size());
    DWGObject o;
    for (size_t i = 0; i < entries.size(); ++i) {
        if (i % pollEvery == 0) poll(i);
        infos_.push_back({entries[i].handle, entries[i].offset, 0, 0, 2, false});
        Info& info = infos_.back();
        if (!openAt(infos_.size() - 1, o)) continue;
        info.type = o.type();
        if (!isEntityType(o.type())) continue;
        o.readEntityCommon();
        if (o.common().entityMode == 0) {
            o.readEntityHandles();
            info.owner = o.owner();
        }
        if (o.broken()) continue;
        info.entity = true;
        info.entityMode = o.common().entityMode;
        if (info.entityMode == 0) children_.push_back({info.owner, uint32_t(infos_.size() - 1)});
    }
    std::sort(children_.begin(), children_.end());
}

void DWGObjectReader::readLayers() {
    DWGObject o;
    for (size_t i = 0; i < infos_.size(); ++i) {
        if (infos_[i].type != DWGType::layer || !openAt(i, o)) continue;
        o.readObjectCommon();
        std::string name = o.text();
        DWGBitReader& r = o.data;
        r.readB();
        if (sections_.version < DWGVersion::r2007) r.readBS();  // the xref index
        r.readB();
        // The "on" bit is set for a layer that is off, as the files have it.
        bool frozen = false, off = false;
        if (sections_.version <= DWGVersion::r14) {
            frozen = r.readB();
            off = r.readB();
            r.readB();
            r.readB();
        } else {
            const uint16_t flags = uint16_t(r.readBS());
            frozen = (flags & 1) != 0;
            off = (flags & 2) != 0;
        }
        const DWGColor color = r.readCMC(sections_.version);
        if (o.broken() || name.empty()) continue;
        int index = 0;
        if (name != "0") {
            index = int(drawing_.layers.size());
            drawing_.layers.push_back({std::move(name)});
        }
        CADLayer& layer = drawing_.layers[size_t(index)];
        layer.frozen = frozen;
        layer.off = off || color.index < 0;
        layers_.push_back({infos_[i].handle, index});
    }
    std::sort(layers_.begin(), layers_.end());
}

void DWGObjectReader::readBlocks() {
    DWGObject o;
    int anonymous = 0, layouts = 0;
    for (size_t i = 0; i < infos_.size(); ++i) {
        if (infos_[i].type != DWGType::blockHeader || !openAt(i, o)) continue;
        o.readObjectCommon();
        std::string name = o.text();
        DWGBitReader& r = o.data;
        r.readB();
        if (sections_.version < DWGVersion::r2007) r.readBS();  // the xref index
        r.readB();
        r.readB();  // anonymous
        r.readB();  // has attribute definitions
        r.readB();  // external reference
        r.readB();  // overlaid
        if (sections_.version >= DWGVersion::r2000) r.readB();
        if (sections_.version >= DWGVersion::r2004) r.readBL();
        const DWGPoint3 base = r.read3BD();
        if (o.broken() || name.empty()) continue;
        if (sameName(name, "*Model_Space")) modelSpace_ = infos_[i].handle;
        // The first paper space is the active layout's; the others are numbered from 0.
        if (sameName(name, "*Paper_Space")) {
            if (paperSpace_)
                name += std::to_string(layouts++);
            else
                paperSpace_ = infos_[i].handle;
        }
        // Anonymous blocks (*D, *U, *T, *X...) are numbered when the drawing is loaded.
        if (name.size() == 2 && name[0] == '*' && !sameName(name, "*M") && !sameName(name, "*P"))
            name += std::to_string(++anonymous);
        blocks_.push_back({infos_[i].handle, int(drawing_.blocks.size())});
        CADBlock& b = drawing_.blocks.emplace_back();
        b.name = std::move(name);
        b.base = toCAD(base);
        b.defined = true;
    }
    std::sort(blocks_.begin(), blocks_.end());
}

void DWGObjectReader::readEntities() {
    std::vector<CADEntity> paper;
    DWGObject o;
    const int model = blockIndex(modelSpace_), sheet = blockIndex(paperSpace_);
    for (size_t i = 0; i < infos_.size(); ++i) {
        if (i % pollEvery == 0) poll(infos_.size() + i);
        const Info& info = infos_[i];
        if (!info.entity) continue;
        std::vector<CADEntity>* into = nullptr;
        if (info.entityMode == 2) {
            into = &drawing_.entities;
        } else if (info.entityMode == 1) {
            into = &paper;
        } else {
            const int block = blockIndex(info.owner);
            if (block < 0) continue;  // a vertex, an attribute, or an orphan
            into = block == model   ? &drawing_.entities
                   : block == sheet ? &paper
                                    : &drawing_.blocks[size_t(block)].entities;
        }
        if (!openAt(i, o)) continue;
        decode(o, *into);
    }
    drawing_.entities.insert(drawing_.entities.end(), paper.begin(), paper.end());
}

void DWGObjectReader::decode(DWGObject& o, std::vector<CADEntity>& into) {
    o.readEntityCommon();
    CADEntity base;
    base.layer = layerIndex(o.readEntityHandles());
    if (o.broken()) return;
    DWGEntityInput in{o, base, drawing_, into, *this};
    switch (o.type()) {
        case DWGType::line:
        case DWGType::arc:
        case DWGType::circle:
        case DWGType::point:
        case DWGType::ellipse:
            DWGEntityReaders::readCurve(in);
            return;
        case DWGType::face3D:
        case DWGType::solid:
        case DWGType::trace:
            DWGEntityReaders::readFace(in);
            return;
        case DWGType::polyline2D:
        case DWGType::polyline3D:
        case DWGType::polylinePface:
        case DWGType::polylineMesh:
            DWGEntityReaders::readPolyline(in);
            return;
        case DWGType::lwpolyline:
            DWGEntityReaders::readLwPolyline(in);
            return;
        case DWGType::text:
        case DWGType::attrib:
            DWGEntityReaders::readText(in);
            return;
        case DWGType::mtext:
            DWGEntityReaders::readMText(in);
            return;
        case DWGType::spline:
            DWGEntityReaders::readSpline(in);
            return;
        case DWGType::leader:
            DWGEntityReaders::readLeader(in);
            return;
        case DWGType::hatch:
            DWGEntityReaders::readHatch(in);
            return;
        case DWGType::insert:
        case DWGType::minsert:
            DWGEntityReaders::readInsert(in, arrayInsertsLeft_);
            return;
        default:
            break;
    }
    if (o.type() >= DWGType::dimOrdinate && o.type() <= DWGType::dimDiameter) {
        DWGEntityReaders::readDimension(in);
        return;
    }
    std::string_view name = classes_.dxfName(o.type());
    if (name == "LWPOLYLINE" || name == "LWPLINE")
        DWGEntityReaders::readLwPolyline(in);
    else if (name == "HATCH")
        DWGEntityReaders::readHatch(in);
    else if (name == "MULTILEADER")
        DWGEntityReaders::readMultiLeader(in);
}

void DWGObjectReader::poll(size_t done) {
    if (isCancelled_ && isCancelled_()) throw SKPError::cancelled();
    if (progress_ && !infos_.empty()) {
        const double total = 2.0 * double(map_.entries().size());
        progress_({L("Lecture des objets DWG…", "Reading DWG objects…"), 0,
                   0.15 + 0.7 * std::min(1.0, double(done) / total)});
    }
}

}  // namespace vistrel
