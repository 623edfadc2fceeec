// Typed access to the persisted user settings, with their defaults. A command's change holds at
// once and reaches the disk on the store's writer; reads fall back to the registered defaults.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "model/Math.h"

namespace vistrel {
class SettingsStore;
}

namespace vistrel::app::Preferences {

// Every key with its default value.
const nlohmann::json& defaults();
// Registers defaults() with the store; done once at start.
void registerDefaults();

// The store behind every accessor: SettingsStore::standard() unless replaced (tests).
void setStore(SettingsStore* store);
SettingsStore& store();

// A boolean key of defaults(); any other key is a programming error.
bool boolValue(const std::string& key);
void setBool(const std::string& key, bool value);

float ambientOcclusionIntensity();
void setAmbientOcclusionIntensity(float value);

Float3 customBackdropColor();
void setCustomBackdropColor(Float3 color);

std::string backdropStyleRaw();
void setBackdropStyleRaw(const std::string& raw);

// A port number as the environment gives it: decimal, an optional leading "+", within 16 bits.
std::optional<uint16_t> parsePort(const char* text);

std::string oscOutHost();
void setOscOutHost(const std::string& host);
// VISTREL_OSC_OUT_PORT when it is a 16-bit decimal, else the stored port when in 1..65535,
// else 9151.
uint16_t oscOutPort();
void setOscOutPort(int port);

}  // namespace vistrel::app::Preferences
