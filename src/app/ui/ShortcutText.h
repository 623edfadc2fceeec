// Shortcut glyphs of texts written for the Mac keyboard, as a Linux user reads them, in the order
// and words of Qt's own menus: "(⌥⌘S)" becomes "(Ctrl+Alt+S)", "⇧Z" "Shift+Z". A modifier that
// names no key ("⇧-clic", "maintenir ⇧") becomes the key's name, "Maj" in French.
#pragma once

#include <QString>

#include <string>

namespace vistrel::app {

QString shortcutText(const std::string& text);

}  // namespace vistrel::app
