// Reads a DXF file, ASCII or binary, into neutral CAD records (CADDrawing) through the shared
// tag reader: header units, layers with their on, off and frozen states, blocks with their base
// points, and the entities CADConverter draws (LINE, ARC, CIRCLE, ELLIPSE, SPLINE, LWPOLYLINE,
// POLYLINE, 3DFACE, SOLID, TRACE, POINT, INSERT, MINSERT, TEXT, ATTRIB, MTEXT, HATCH,
// DIMENSION, LEADER, MULTILEADER); every other entity (ATTDEF included) is read past.
// Malformed numbers take the field's default; a truncated file yields what was read up to its
// last whole tag. Names are UTF-8 if the whole file decodes so, else ISO Latin-1.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cad/CADDrawing.h"
#include "dxf/DXFTagReader.h"
#include "dxf/DXFText.h"
#include "sketchup/SKPReader.h"

namespace vistrel {

class MappedFile;

class DXFFrontEnd {
  public:
    // `bytes` (and `file`, when given, whose pages are released behind the reader) must outlive
    // the call to read().
    DXFFrontEnd(std::span<const uint8_t> bytes, const SKPReader::ProgressCallback& progress,
                const SKPReader::CancelCheck& isCancelled, const MappedFile* file);

    // Throws SKPError::cancelled when isCancelled answers true (polled every 25,000 tags and
    // between sections). Progress "Reading DXF entities…" from 0.15 to 0.86 by bytes read.
    CADDrawing read();

  private:
    enum class Stop { endSection, endBlock, endOfFile };

    void walkSections();
    void skipSection();
    void readHeader();
    void readTables();
    void readBlocks();
    Stop readEntities(std::vector<CADEntity>& into, bool stopAtEndBlk);
    template <typename Field>
    int readFields(CADEntity& e, Field&& field);
    void skipFields();
    void readLine(std::vector<CADEntity>& into);
    void readLwPolyline(std::vector<CADEntity>& into);
    void readPolyline(std::vector<CADEntity>& into);
    void readArc(std::vector<CADEntity>& into, bool circle);
    void readCorners(std::vector<CADEntity>& into, bool crosswise);
    void readPoint(std::vector<CADEntity>& into);
    void readInsert(std::vector<CADEntity>& into, bool array);
    void readDimension(std::vector<CADEntity>& into);
    void readLeader(std::vector<CADEntity>& into);
    void readHatch(std::vector<CADEntity>& into);
    void readMultiLeader(std::vector<CADEntity>& into);
    void readEllipse(std::vector<CADEntity>& into);
    void readSpline(std::vector<CADEntity>& into);
    void readText(std::vector<CADEntity>& into, bool attrib);
    void readMText(std::vector<CADEntity>& into);

    int ensureLayer(std::string_view name);
    int blockId(std::string_view name);
    void checkCancelled();
    void poll();
    void checkEncodingUpTo(size_t offset);
    std::string decode(std::string_view raw) const;

    std::span<const uint8_t> bytes_;
    DXFTagReader reader_;
    const SKPReader::ProgressCallback& progress_;
    const SKPReader::CancelCheck& isCancelled_;
    const MappedFile* file_;

    CADDrawing drawing_;
    // Names stay views into the file until the end, when its encoding is known.
    std::vector<std::string_view> layerNames_;
    std::unordered_map<std::string_view, int, DXFText::NameHash> layerIndex_;
    std::string_view lastLayerName_ = "0";
    int lastLayer_ = 0;
    std::vector<std::string_view> blockNames_;
    std::unordered_map<std::string_view, int, DXFText::NameHash> blockIds_;

    std::vector<DXFTag> hatchTags_;  // scratch
    int64_t arrayInsertsLeft_ = 1'000'000;
    bool fileIsUTF8_ = true;
    size_t checkedUpTo_ = 0;
    bool announcedEntities_ = false;
    int64_t nextPoll_ = 0;
};

}  // namespace vistrel
