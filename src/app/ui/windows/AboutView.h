// The About window's content: the program and its version (a click copies it), its highlights,
// where the SketchUp library was found, and the ways on to updates, the guide and the web site.
#pragma once

#include <QWidget>

#include <functional>
#include <optional>
#include <string>

#include "sketchup/SketchUpAPI.h"

class QPushButton;

namespace vistrel::app {

class AboutView : public QWidget {
    Q_OBJECT

  public:
    // `version` as people read it; the running program's unless given.
    explicit AboutView(std::optional<SketchUpAPI::Location> location,
                       std::optional<std::string> version = std::nullopt,
                       QWidget* parent = nullptr);

    std::function<void()> onClose;
    bool copiedVersion() const { return copiedVersion_; }

  private:
    void copyVersion();
    void refreshVersion();

    std::optional<SketchUpAPI::Location> location_;
    std::string version_;
    bool copiedVersion_ = false;
    QPushButton* versionButton_;
};

}  // namespace vistrel::app
