// The program's own DXF reader, used when no importer plug-in is present or it refused the file.
//
// Narrow on purpose: layers (frozen or negative-colour ones hidden), block definitions with their
// base points, and ten entity kinds (LINE, LWPOLYLINE, POLYLINE with VERTEX and SEQEND, CIRCLE,
// ARC, 3DFACE, SOLID, TRACE, POINT, INSERT); everything else is read past. $INSUNITS scales the
// model to metres. Blocks become shared definitions, inserts instances, down to depth 16.
// ASCII and binary DXF. Malformed numbers take the field's default; a truncated file yields
// what was read up to its last whole tag.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "sketchup/SKPReader.h"

namespace vistrel::DXFNativeParser {

// Throws SKPError: unreadable when the file cannot be read or shrinks while it is read (the
// process survives that), cancelled when isCancelled answers
// true (polled every 25,000 tags and between sections). Progress "Reading DXF entities…" with
// a fraction from 0.15 to 0.86 by bytes read.
SKPModel parse(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
               const SKPReader::ProgressCallback& progress,
               const SKPReader::CancelCheck& isCancelled);

// The same on bytes already in memory, which must stay alive for the call.
SKPModel parseBytes(std::span<const uint8_t> bytes, const SKPFileInfo& fileInfo,
                    const SKPReader::ProgressCallback& progress = {},
                    const SKPReader::CancelCheck& isCancelled = {});

}  // namespace vistrel::DXFNativeParser
