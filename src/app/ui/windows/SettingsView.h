// The settings form. Each control shows the setting as it was when the view was made and writes
// it the moment it changes; documents already open keep their own state, except the trackpad's
// two-finger gesture, which every view follows at once. A new language waits for the next start.
#pragma once

#include <QWidget>

#include <cstdint>
#include <functional>
#include <optional>

namespace vistrel::app {

class SettingsView : public QWidget {
    Q_OBJECT

  public:
    struct Ports {
        uint16_t osc = 0, http = 0;
    };
    // `ports`: what the remote server listens on; the running server's unless given.
    explicit SettingsView(std::optional<Ports> ports = std::nullopt, QWidget* parent = nullptr);

    std::function<void()> onClose;
};

}  // namespace vistrel::app
