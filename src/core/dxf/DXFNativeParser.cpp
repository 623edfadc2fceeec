#include "dxf/DXFNativeParser.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <string_view>
#include <unordered_map>

#include "dxf/DXFDefinitionBuilder.h"
#include "dxf/DXFTagReader.h"
#include "dxf/DXFText.h"
#include "dxf/DXFUnits.h"
#include "dxf/MappedFile.h"
#include "dxf/RawGeometry.h"
#include "model/BoundingBox.h"
#include "model/SKPError.h"
#include "settings/Localization.h"

namespace vistrel::DXFNativeParser {

namespace {

constexpr int64_t pollEvery = 25'000;
// Four turns at 15 degrees, beyond any real arc: a hostile angle must not turn twenty bytes of
// file into megabytes of segments.
constexpr int maxArcSegments = 96;

enum class EntityKind {
    line,
    lwPolyline,
    polyline,
    circle,
    arc,
    face3d,
    solid,
    trace,
    point,
    insert,
    other
};

EntityKind classify(const DXFTag& t) {
    switch (t.text.size()) {
        case 4:
            if (t.is("LINE")) return EntityKind::line;
            break;
        case 3:
            if (t.is("ARC")) return EntityKind::arc;
            break;
        case 5:
            if (t.is("SOLID")) return EntityKind::solid;
            if (t.is("TRACE")) return EntityKind::trace;
            if (t.is("POINT")) return EntityKind::point;
            break;
        case 6:
            if (t.is("CIRCLE")) return EntityKind::circle;
            if (t.is("INSERT")) return EntityKind::insert;
            if (t.is("3DFACE")) return EntityKind::face3d;
            break;
        case 8:
            if (t.is("POLYLINE")) return EntityKind::polyline;
            break;
        case 10:
            if (t.is("LWPOLYLINE")) return EntityKind::lwPolyline;
            break;
        default:
            break;
    }
    return EntityKind::other;
}

class Parser {
  public:
    Parser(std::span<const uint8_t> bytes, const SKPReader::ProgressCallback& progress,
           const SKPReader::CancelCheck& isCancelled, const MappedFile* file)
        : bytes_(bytes),
          reader_(bytes),
          progress_(progress),
          isCancelled_(isCancelled),
          file_(file) {
        layerNames_.push_back("0");
        layerVisible_.push_back(true);
        layerIndex_.emplace("0", 0);
    }

    SKPModel run(const SKPFileInfo& fileInfo) {
        walkSections();
        checkEncodingUpTo(bytes_.size());
        std::vector<std::string> blockNames;
        blockNames.reserve(blockNames_.size());
        for (std::string_view n : blockNames_) blockNames.push_back(decode(n));
        DXFDefinitionBuilder builder(unitScale_, blocks_, std::move(blockNames));
        BoundingBox box;
        Definition root = builder.buildRoot(main_, box);
        if (box.isEmpty()) box.min = box.max = Float3{};
        Stats stats = builder.stats();
        stats.definitions = int64_t(builder.definitions().size());
        std::vector<Layer> layers;
        layers.reserve(layerNames_.size());
        for (size_t i = 0; i < layerNames_.size(); ++i)
            layers.push_back({decode(layerNames_[i]), bool(layerVisible_[i]), std::nullopt});
        return SKPModel(std::move(root), std::move(builder.definitions()), {}, std::move(layers),
                        {}, std::nullopt, box.min, box.max, stats, fileInfo, std::nullopt,
                        std::nullopt);
    }

  private:
    enum class Stop { endSection, endBlock, endOfFile };

    // ---- section walk ------------------------------------------------------------------

    void walkSections() {
        DXFTag t;
        while (reader_.read(t)) {
            checkCancelled();
            if (t.code != 0 || !t.is("SECTION")) continue;
            DXFTag name;
            bool named = false;
            while (reader_.read(name))
                if (name.code == 2) {
                    named = true;
                    break;
                }
            if (!named) return;
            if (name.is("HEADER"))
                readHeader();
            else if (name.is("TABLES"))
                readTables();
            else if (name.is("BLOCKS"))
                readBlocks();
            else if (name.is("ENTITIES"))
                parseEntities(main_, false);
            else
                skipSection();
        }
    }

    void skipSection() {
        DXFTag t;
        while (reader_.read(t))
            if (t.code == 0 && t.is("ENDSEC")) return;
    }

    void readHeader() {
        DXFTag t;
        while (reader_.read(t)) {
            if (t.code == 0 && t.is("ENDSEC")) return;
            if (t.code != 9 || !t.is("$INSUNITS")) continue;
            DXFTag u;
            while (reader_.read(u)) {
                if (u.code == 70) {
                    unitScale_ = DXFUnits::metresPerUnit(u.asInt(0));
                    break;
                }
                if (u.code == 0 || u.code == 9) {
                    reader_.pushBack(u);
                    break;
                }
            }
        }
    }

    void readTables() {
        DXFTag t;
        while (reader_.read(t)) {
            if (t.code != 0) continue;
            if (t.is("ENDSEC")) return;
            if (!t.is("LAYER")) continue;
            std::string_view name;
            int color = 7, flags = 0;
            while (reader_.read(t)) {
                if (t.code == 0) {
                    reader_.pushBack(t);
                    break;
                }
                if (t.code == 2)
                    name = t.text;
                else if (t.code == 62)
                    color = t.asInt(7);
                else if (t.code == 70)
                    flags = t.asInt(0);
            }
            if (name.empty()) continue;
            bool visible = (flags & 1) == 0 && color >= 0;
            int index = ensureLayer(name, visible);
            layerVisible_[size_t(index)] = visible;
        }
    }

    void readBlocks() {
        DXFTag t;
        while (reader_.read(t)) {
            if (t.code != 0) continue;
            if (t.is("ENDSEC")) return;
            if (!t.is("BLOCK")) continue;
            std::string_view name;
            double bx = 0, by = 0, bz = 0;
            while (reader_.read(t)) {
                if (t.code == 0) {
                    reader_.pushBack(t);
                    break;
                }
                switch (t.code) {
                    case 2:
                        name = t.text;
                        break;
                    case 10:
                        bx = t.asDouble(0);
                        break;
                    case 20:
                        by = t.asDouble(0);
                        break;
                    case 30:
                        bz = t.asDouble(0);
                        break;
                    default:
                        break;
                }
            }
            RawGeometry geometry;
            Stop stop = parseEntities(geometry, true);
            Float3 base{float(bx), float(by), float(bz)};
            if (dot(base, base) > 1e-10f) geometry.subtract(base);
            RawBlock& b = blocks_[size_t(blockId(name))];
            b.geometry = std::move(geometry);
            b.defined = true;
            if (stop != Stop::endBlock) return;
        }
    }

    // ---- entities ----------------------------------------------------------------------

    Stop parseEntities(RawGeometry& into, bool stopAtEndBlk) {
        if (!announcedEntities_) {
            announcedEntities_ = true;
            if (progress_)
                progress_(
                    {L("Lecture des entités DXF…", "Reading DXF entities…"), 0, std::nullopt});
        }
        DXFTag t;
        while (reader_.read(t)) {
            if (reader_.pairsRead() >= nextPoll_) poll();
            if (t.code != 0) continue;
            if (t.is("ENDSEC")) return Stop::endSection;
            if (stopAtEndBlk && t.is("ENDBLK")) return Stop::endBlock;
            switch (classify(t)) {
                case EntityKind::line:
                    readLine(into);
                    break;
                case EntityKind::lwPolyline:
                    readLwPolyline(into);
                    break;
                case EntityKind::polyline:
                    readPolyline(into);
                    break;
                case EntityKind::circle:
                    readArc(into, true);
                    break;
                case EntityKind::arc:
                    readArc(into, false);
                    break;
                case EntityKind::face3d:
                    readCorners(into, false);
                    break;
                case EntityKind::solid:
                case EntityKind::trace:
                    readCorners(into, true);
                    break;
                case EntityKind::point:
                    readPoint(into);
                    break;
                case EntityKind::insert:
                    readInsert(into);
                    break;
                case EntityKind::other:
                    skipFields();
                    break;
            }
        }
        return Stop::endOfFile;
    }

    // Reads the entity's groups up to the next code 0 (pushed back): code 8 names the layer,
    // every other group goes to `field`. Returns the layer index.
    template <typename Field>
    int readFields(Field&& field) {
        std::string_view layer;
        DXFTag t;
        while (reader_.read(t)) {
            if (t.code == 0) {
                reader_.pushBack(t);
                break;
            }
            if (t.code == 8)
                layer = t.text;
            else
                field(t);
        }
        return ensureLayer(layer, true);
    }

    void skipFields() {
        DXFTag t;
        while (reader_.read(t))
            if (t.code == 0) {
                reader_.pushBack(t);
                return;
            }
    }

    void readLine(RawGeometry& into) {
        double v[6] = {};
        int layer = readFields([&](const DXFTag& t) {
            switch (t.code) {
                case 10:
                    v[0] = t.asDouble(0);
                    break;
                case 20:
                    v[1] = t.asDouble(0);
                    break;
                case 30:
                    v[2] = t.asDouble(0);
                    break;
                case 11:
                    v[3] = t.asDouble(0);
                    break;
                case 21:
                    v[4] = t.asDouble(0);
                    break;
                case 31:
                    v[5] = t.asDouble(0);
                    break;
                default:
                    break;
            }
        });
        into.addSegment({float(v[0]), float(v[1]), float(v[2])},
                        {float(v[3]), float(v[4]), float(v[5])}, layer);
    }

    void readLwPolyline(RawGeometry& into) {
        vertices_.clear();
        double x = 0, elevation = 0;
        int flags = 0;
        int layer = readFields([&](const DXFTag& t) {
            switch (t.code) {
                case 10:
                    x = t.asDouble(0);
                    break;
                case 20:
                    vertices_.push_back({float(x), float(t.asDouble(0)), 0});
                    break;
                case 38:
                    elevation = t.asDouble(0);
                    break;
                case 70:
                    flags = t.asInt(0);
                    break;
                default:
                    break;
            }
        });
        for (Float3& p : vertices_) p.z = float(elevation);
        addPath(into, (flags & 1) != 0, layer);
    }

    // Consecutive segments through vertices_, closed when asked and more than two vertices.
    void addPath(RawGeometry& into, bool closed, int layer) {
        for (size_t i = 1; i < vertices_.size(); ++i)
            into.addSegment(vertices_[i - 1], vertices_[i], layer);
        if (closed && vertices_.size() > 2) into.addSegment(vertices_.back(), vertices_[0], layer);
    }

    void readPolyline(RawGeometry& into) {
        int flags = 0;
        int layer = readFields([&](const DXFTag& t) {
            if (t.code == 70) flags = t.asInt(0);
        });
        vertices_.clear();
        bool hasFaces = false;
        DXFTag t;
        while (reader_.read(t)) {
            if (reader_.pairsRead() >= nextPoll_) poll();
            if (t.code != 0) continue;
            if (t.is("SEQEND")) {
                skipFields();
                break;
            }
            if (!t.is("VERTEX")) {
                reader_.pushBack(t);
                break;
            }
            double x = 0, y = 0, z = 0;
            int vflags = 0, index[4] = {};
            readFields([&](const DXFTag& f) {
                switch (f.code) {
                    case 10:
                        x = f.asDouble(0);
                        break;
                    case 20:
                        y = f.asDouble(0);
                        break;
                    case 30:
                        z = f.asDouble(0);
                        break;
                    case 70:
                        vflags = f.asInt(0);
                        break;
                    case 71:
                    case 72:
                    case 73:
                    case 74: {
                        int i = f.asInt(0);
                        index[f.code - 71] = i == std::numeric_limits<int>::min() ? 0 : std::abs(i);
                        break;
                    }
                    default:
                        break;
                }
            });
            if ((vflags & 128) && !(vflags & 64)) {
                hasFaces = true;
                auto n = int(vertices_.size());
                auto ok = [n](int i) { return i >= 1 && i <= n; };
                if (!ok(index[0]) || !ok(index[1]) || !ok(index[2])) continue;
                std::optional<Float3> fourth;
                if (ok(index[3])) fourth = vertices_[size_t(index[3] - 1)];
                into.addQuadOrTri(vertices_[size_t(index[0] - 1)], vertices_[size_t(index[1] - 1)],
                                  vertices_[size_t(index[2] - 1)], fourth, layer);
            } else {
                vertices_.push_back({float(x), float(y), float(z)});
            }
        }
        if (!hasFaces) addPath(into, (flags & 1) != 0, layer);
    }

    void readArc(RawGeometry& into, bool circle) {
        double cx = 0, cy = 0, cz = 0, radius = 0, start = 0, end = 360;
        int layer = readFields([&](const DXFTag& t) {
            switch (t.code) {
                case 10:
                    cx = t.asDouble(0);
                    break;
                case 20:
                    cy = t.asDouble(0);
                    break;
                case 30:
                    cz = t.asDouble(0);
                    break;
                case 40:
                    radius = t.asDouble(0);
                    break;
                case 50:
                    start = t.asDouble(0);
                    break;
                case 51:
                    end = t.asDouble(360);
                    break;
                default:
                    break;
            }
        });
        if (!(radius > 1e-6) || !std::isfinite(radius)) return;
        double a0 = 0, sweep = 2 * std::numbers::pi;
        if (!circle) {
            constexpr double toRadians = 3.1415925 / 180, turn = 6.283185;
            a0 = start * toRadians;
            double a1 = end * toRadians;
            if (!std::isfinite(a0) || !std::isfinite(a1)) return;
            // Counter-clockwise always: whole turns are added to the end until it lies above the
            // start, which fmod does in one step (a loop would never end on huge angles).
            sweep = a1 - a0;
            if (sweep <= 0) {
                sweep = std::fmod(sweep, turn);
                sweep = sweep < 0 ? sweep + turn : turn;
            }
            if (!(sweep > 0) || !std::isfinite(sweep)) return;
        }
        double count = std::max(8.0, std::floor(sweep / 0.26179937));
        int segments = int(std::min(count, double(maxArcSegments)));
        // Successive points by one rotation each, in double: no drift worth a float.
        const double step = sweep / segments, c = std::cos(step), sn = std::sin(step);
        double dx = radius * std::cos(a0), dy = radius * std::sin(a0);
        Float3 previous{float(cx + dx), float(cy + dy), float(cz)};
        for (int i = 1; i <= segments; ++i) {
            double nx = dx * c - dy * sn;
            dy = dx * sn + dy * c;
            dx = nx;
            Float3 p{float(cx + dx), float(cy + dy), float(cz)};
            into.addSegment(previous, p, layer);
            previous = p;
        }
    }

    // 3DFACE corners in file order; SOLID and TRACE store the last two crosswise.
    void readCorners(RawGeometry& into, bool crosswise) {
        double c[4][3] = {};
        bool fourthGiven = false;
        int layer = readFields([&](const DXFTag& t) {
            int axis = t.code / 10 - 1, corner = t.code % 10;
            if (t.code < 10 || t.code > 33 || corner > 3) return;
            c[corner][axis] = t.asDouble(0);
            if (corner == 3) fourthGiven = true;
        });
        Float3 p[4];
        for (int i = 0; i < 4; ++i) p[i] = {float(c[i][0]), float(c[i][1]), float(c[i][2])};
        // A face given three corners has its fourth on the third.
        if (!fourthGiven) p[3] = p[2];
        if (crosswise) std::swap(p[2], p[3]);
        into.addQuadOrTri(p[0], p[1], p[2], p[3], layer);
        Float3 d = p[3] - p[2];
        if (dot(d, d) > 1e-10f) {
            into.addSegment(p[0], p[1], layer);
            into.addSegment(p[1], p[2], layer);
            into.addSegment(p[2], p[3], layer);
            into.addSegment(p[3], p[0], layer);
        } else {
            into.addSegment(p[0], p[1], layer);
            into.addSegment(p[1], p[2], layer);
            into.addSegment(p[2], p[0], layer);
        }
    }

    void readPoint(RawGeometry& into) {
        double v[3] = {};
        int layer = readFields([&](const DXFTag& t) {
            if (t.code == 10 || t.code == 20 || t.code == 30) v[t.code / 10 - 1] = t.asDouble(0);
        });
        into.pointsByLayer.at(layer).push_back({float(v[0]), float(v[1]), float(v[2])});
    }

    void readInsert(RawGeometry& into) {
        RawInsert insert;
        insert.block = blockId({});
        double v[7] = {0, 0, 0, 1, 1, 1, 0};
        insert.layer = readFields([&](const DXFTag& t) {
            switch (t.code) {
                case 2:
                    insert.block = blockId(t.text);
                    break;
                case 10:
                    v[0] = t.asDouble(0);
                    break;
                case 20:
                    v[1] = t.asDouble(0);
                    break;
                case 30:
                    v[2] = t.asDouble(0);
                    break;
                case 41:
                    v[3] = t.asDouble(1);
                    break;
                case 42:
                    v[4] = t.asDouble(1);
                    break;
                case 43:
                    v[5] = t.asDouble(1);
                    break;
                case 50:
                    v[6] = t.asDouble(0);
                    break;
                default:
                    break;
            }
        });
        insert.position = {float(v[0]), float(v[1]), float(v[2])};
        insert.scale = {float(v[3]), float(v[4]), float(v[5])};
        insert.rotationDeg = float(v[6]);
        into.inserts.push_back(insert);
    }

    // ---- layers ------------------------------------------------------------------------

    int ensureLayer(std::string_view name, bool visible) {
        if (name.empty()) name = "0";
        if (name == lastLayerName_) return lastLayer_;
        auto [it, added] = layerIndex_.try_emplace(name, int(layerNames_.size()));
        if (added) {
            layerNames_.push_back(name);
            layerVisible_.push_back(visible);
        }
        lastLayerName_ = it->first;
        lastLayer_ = it->second;
        return lastLayer_;
    }

    int blockId(std::string_view name) {
        auto [it, added] = blockIds_.try_emplace(name, int(blockNames_.size()));
        if (added) {
            blockNames_.push_back(name);
            blocks_.emplace_back();
        }
        return it->second;
    }

    // ---- progress, cancellation --------------------------------------------------------

    void checkCancelled() {
        if (isCancelled_ && isCancelled_()) throw SKPError::cancelled();
    }

    void poll() {
        nextPoll_ = (reader_.pairsRead() / pollEvery + 1) * pollEvery;
        checkCancelled();
        size_t total = reader_.size();
        if (progress_) {
            double f =
                total ? std::min(double(reader_.offset()) * 0.7 / double(total) + 0.15, 0.86) : 0.5;
            progress_({L("Lecture des entités DXF…", "Reading DXF entities…"), 0, f});
        }
        // What lies behind is not read again but for a few names, which the file gives back.
        checkEncodingUpTo(reader_.offset());
        if (file_) file_->releaseBefore(reader_.offset());
    }

    // ---- text ------------------------------------------------------------------------------

    // The file's text is UTF-8 if the whole of it decodes so, else ISO Latin-1. The check runs
    // behind the reader, at each poll, on bytes still in memory; pairs end at line ends, where
    // no UTF-8 sequence is cut. Binary files mix bytes and text and are judged name by name.
    void checkEncodingUpTo(size_t offset) {
        if (reader_.isBinary() || !fileIsUTF8_ || offset <= checkedUpTo_) return;
        std::string_view chunk(reinterpret_cast<const char*>(bytes_.data()) + checkedUpTo_,
                               offset - checkedUpTo_);
        fileIsUTF8_ = DXFText::isValidUTF8(chunk);
        checkedUpTo_ = offset;
    }

    std::string decode(std::string_view raw) const {
        bool utf8 = reader_.isBinary() ? DXFText::isValidUTF8(raw) : fileIsUTF8_;
        return utf8 ? std::string(raw) : DXFText::latin1ToUTF8(raw);
    }

    std::span<const uint8_t> bytes_;
    DXFTagReader reader_;
    const SKPReader::ProgressCallback& progress_;
    const SKPReader::CancelCheck& isCancelled_;
    const MappedFile* file_;

    std::vector<std::string_view> layerNames_;
    std::vector<char> layerVisible_;
    std::unordered_map<std::string_view, int, DXFText::NameHash> layerIndex_;
    std::string_view lastLayerName_ = "0";
    int lastLayer_ = 0;

    // Block names are interned as they are read, so that nothing later goes back to the file
    // for them (its pages may have left memory by then).
    std::unordered_map<std::string_view, int, DXFText::NameHash> blockIds_;
    std::vector<std::string_view> blockNames_;
    std::vector<RawBlock> blocks_;  // by block id
    RawGeometry main_;
    std::vector<Float3> vertices_;  // scratch for polylines
    float unitScale_ = 1;
    bool fileIsUTF8_ = true;
    size_t checkedUpTo_ = 0;
    bool announcedEntities_ = false;
    int64_t nextPoll_ = 0;
};

SKPModel parseImpl(std::span<const uint8_t> bytes, const SKPFileInfo& fileInfo,
                   const SKPReader::ProgressCallback& progress,
                   const SKPReader::CancelCheck& isCancelled, const MappedFile* file) {
    auto start = std::chrono::steady_clock::now();
    SKPModel model = Parser(bytes, progress, isCancelled, file).run(fileInfo);
    model.stats.loadSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return model;
}

}  // namespace

SKPModel parse(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
               const SKPReader::ProgressCallback& progress,
               const SKPReader::CancelCheck& isCancelled) {
    MappedFile file(url);
    SKPModel model = parseImpl(file.bytes(), fileInfo, progress, isCancelled, &file);
    // The file shrank or failed a read under the parser: part of what it saw was not the file.
    if (file.damaged()) throw SKPError::unreadable(url);
    return model;
}

SKPModel parseBytes(std::span<const uint8_t> bytes, const SKPFileInfo& fileInfo,
                    const SKPReader::ProgressCallback& progress,
                    const SKPReader::CancelCheck& isCancelled) {
    return parseImpl(bytes, fileInfo, progress, isCancelled, nullptr);
}

}  // namespace vistrel::DXFNativeParser
