// The rows of the published OSC namespace, read from a document on the main thread.
#pragma once

#include <vector>

#include "osc/OSCQueryTree.h"

namespace vistrel::app {

class DocumentModel;

// The published namespace with the live values of `model`, or the no-document column when it
// is null: 43 rows, always in the same order, so that every client sees one shape. Not const
// because the coordinate and distance ranges are computed by non-const model operations.
std::vector<OSCQueryParameterSpec> oscQueryParameters(DocumentModel* model);

}  // namespace vistrel::app
