#include "remote/PublishedRanges.h"

#include "documents/DocumentModel.h"

namespace vistrel::app {

PublishedRanges publishedRanges(DocumentModel* model) {
    PublishedRanges ranges;
    if (!model) return ranges;
    auto coordinates = model->pointLightCoordinateRange();
    ranges.coordinates = {coordinates.lower, coordinates.upper};
    auto distances = model->cameraDistanceRange();
    ranges.distances = {distances.lower, distances.upper};
    return ranges;
}

}  // namespace vistrel::app
