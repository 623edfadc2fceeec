// The document window's sidebar: a dark column of the model's scenes, its layers and the
// model inspector. It slides open to `fullWidth` or shut to nothing whenever `showSidebar`
// changes, animating its own width so that the viewport beside it takes what is left; it
// starts at the width the field gives, without sliding.
#pragma once

#include <QWidget>

class QLabel;
class QListWidget;
class QPropertyAnimation;

namespace vistrel::app {

class DocumentModel;
class LayersSection;
class ModelInspector;

class Sidebar : public QWidget {
    Q_OBJECT
    Q_PROPERTY(int shownWidth READ shownWidth WRITE setShownWidth)

  public:
    static constexpr int fullWidth = 280;
    static constexpr int slideMilliseconds = 220;

    Sidebar(DocumentModel& model, QWidget* parent);

    // Empty and hidden when the model has no scenes.
    QListWidget& scenes() const { return *scenes_; }
    LayersSection& layers() const { return *layers_; }
    ModelInspector& inspector() const { return *inspector_; }

    int shownWidth() const { return width(); }
    void setShownWidth(int width);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void slide();
    void rebuildScenes();
    void followScene();

    DocumentModel& model_;
    QWidget* column_;
    QLabel* scenesTitle_;
    QListWidget* scenes_;
    LayersSection* layers_;
    ModelInspector* inspector_;
    QPropertyAnimation* slide_;
};

}  // namespace vistrel::app
