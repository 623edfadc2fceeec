// The palette of the dark interface. The program is dark at all times.
#pragma once

class QApplication;

namespace vistrel::app::Theme {

inline constexpr const char* background = "#1e1f22";
inline constexpr const char* panel = "#26282c";
inline constexpr const char* text = "#e8e8ea";
inline constexpr const char* secondaryText = "#9a9ca3";
inline constexpr const char* accent = "#4c8dff";
inline constexpr const char* separator = "#34363b";
inline constexpr const char* hover = "#34363b";
inline constexpr const char* checkedBackground = "rgba(76, 141, 255, 0.20)";

// The column over the viewport while a model loads or after it failed, in pixels.
inline constexpr int overlayMargin = 24, overlayColumnWidth = 560, overlaySpacing = 8;
inline constexpr int overlayGap = 16;  // below the thumbnail
inline constexpr int overlayProgressWidth = 320;
inline constexpr int overlayThumbnailWidth = 360, overlayThumbnailHeight = 240;
inline constexpr int overlayThumbnailMinimum = 48;  // smaller than this it is left out

// Fusion with the dark palette, whatever the desktop's theme.
void apply(QApplication& application);

}  // namespace vistrel::app::Theme
