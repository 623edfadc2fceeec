// One setting in a popover: its label, a slider, and either the value as text or a spin box
// to type it; more widgets may follow on the right. The row holds no state of its own beyond
// what it shows: setValue() shows a value and emits nothing, and `edited` reports only what a
// person did, with the slider or the spin box.
#pragma once

#include <QWidget>

#include <functional>

class QDoubleSpinBox;
class QHBoxLayout;
class QLabel;
class QSlider;

namespace vistrel::app {

class SliderRow : public QWidget {
    Q_OBJECT

  public:
    enum class Scale {
        linear,
        logarithmic,  // equal steps multiply; the lower bound must be above 0
        lightCurve,   // the light curve from 0 to the upper bound, with fine steps near 0
    };
    struct Options {
        double lower = 0, upper = 1;
        Scale scale = Scale::linear;
        int decimals = 1;
        QString suffix;  // after the number, e.g. " m"
        bool spinBox = false;
        // Replaces number and suffix in the value text (not in the spin box).
        std::function<QString(double)> text;
    };

    SliderRow(const QString& label, Options options, QWidget* parent);

    // Keeps the value shown; emits nothing.
    void setRange(double lower, double upper);
    void setValue(double value);
    double value() const { return value_; }
    void addTrailing(QWidget* widget);

    QSlider* slider() const { return slider_; }
    QDoubleSpinBox* spinBox() const { return spinBox_; }  // null without one
    QString valueText() const;

    // The slider's steps, from 0 to this.
    static constexpr int steps = 1000;

  signals:
    void edited(double value);

  private:
    double valueAt(int position) const;
    int positionOf(double value) const;
    void display(double value, bool slider, bool spin);

    Options options_;
    double value_ = 0;
    QHBoxLayout* layout_;
    QSlider* slider_;
    QLabel* text_ = nullptr;
    QDoubleSpinBox* spinBox_ = nullptr;
};

}  // namespace vistrel::app
