// The JSON that vistrel-inspect prints for one file: what the header says, and either the
// loaded model's figures or the load's error.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>

#include "model/SKPError.h"
#include "model/SKPModel.h"

namespace vistrel::inspect {

// path, version, versionLabel, hasThumbnail (null where the header told nothing).
nlohmann::json headerSummary(const SKPFileInfo& info);
// The header's keys plus stats, layers, hiddenLayers, definitions, scenes, bounds, isPlanar2D
// and loadSeconds (wall time of the whole load, as the caller measured it).
nlohmann::json modelSummary(const SKPModel& model, double loadSeconds);
// The header's keys plus error, the error's English message.
nlohmann::json failureSummary(const SKPFileInfo& info, const std::string& message);

}  // namespace vistrel::inspect
