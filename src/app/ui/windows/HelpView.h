// The user guide: the six sections listed on the left, the selected one's text on the right.
// A new view starts on the first section.
#pragma once

#include <QWidget>

#include <functional>

class QLabel;
class QListWidget;

namespace vistrel::app {

class HelpView : public QWidget {
    Q_OBJECT

  public:
    enum class Section { overview, navigation, rendering, scenesAndLayers, oscAndMCP, sdkAndFiles };

    explicit HelpView(QWidget* parent = nullptr);

    std::function<void()> onClose;
    Section selected() const { return selected_; }
    void select(Section section);

  private:
    Section selected_ = Section::overview;
    QListWidget* list_;
    QLabel* heading_;
    QLabel* body_;
};

}  // namespace vistrel::app
