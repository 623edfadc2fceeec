#include "ui/popovers/SliderRow.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>

#include <algorithm>
#include <cmath>

#include "ui/popovers/PopoverText.h"
#include "vocabulary/Rendering.h"

namespace vistrel::app {

namespace {

// Label and value columns line up from row to row.
constexpr int kLabelWidth = 112, kTextWidth = 58, kSliderWidth = 150, kSpinWidth = 78;

}  // namespace

SliderRow::SliderRow(const QString& label, Options options, QWidget* parent)
    : QWidget(parent),
      options_(std::move(options)),
      layout_(new QHBoxLayout(this)),
      slider_(new QSlider(Qt::Horizontal, this)) {
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(8);
    auto* name = new QLabel(label, this);
    name->setFixedWidth(kLabelWidth);
    layout_->addWidget(name);
    slider_->setRange(0, steps);
    slider_->setMinimumWidth(kSliderWidth);
    layout_->addWidget(slider_, 1);
    if (options_.spinBox) {
        spinBox_ = new QDoubleSpinBox(this);
        spinBox_->setLocale(interfaceLocale());
        spinBox_->setDecimals(options_.decimals);
        spinBox_->setSuffix(options_.suffix);
        spinBox_->setRange(options_.lower, options_.upper);
        spinBox_->setSingleStep(options_.decimals >= 2 ? 0.1 : 1);
        spinBox_->setKeyboardTracking(false);  // a typed number counts once, when entered
        spinBox_->setFixedWidth(kSpinWidth);
        spinBox_->setAlignment(Qt::AlignRight);
        layout_->addWidget(spinBox_);
        connect(spinBox_, &QDoubleSpinBox::valueChanged, this, [this](double v) {
            value_ = v;
            display(v, true, false);
            emit edited(v);
        });
    } else {
        text_ = new QLabel(this);
        text_->setFixedWidth(kTextWidth);
        text_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        layout_->addWidget(text_);
    }
    connect(slider_, &QSlider::valueChanged, this, [this](int position) {
        value_ = valueAt(position);
        display(value_, false, true);
        emit edited(value_);
    });
    display(value_, true, true);
}

void SliderRow::addTrailing(QWidget* widget) {
    layout_->addWidget(widget);
}

void SliderRow::setRange(double lower, double upper) {
    options_.lower = lower;
    options_.upper = upper;
    if (spinBox_) {
        const QSignalBlocker block(spinBox_);
        spinBox_->setRange(lower, upper);
    }
    display(value_, true, true);
}

void SliderRow::setValue(double value) {
    value_ = value;
    display(value, true, true);
}

QString SliderRow::valueText() const {
    if (spinBox_) return spinBox_->text();
    return text_->text();
}

double SliderRow::valueAt(int position) const {
    const double p = double(position) / steps;
    const double lo = options_.lower, hi = options_.upper;
    switch (options_.scale) {
        case Scale::linear:
            return lo + p * (hi - lo);
        case Scale::logarithmic:
            return lo * std::pow(hi / lo, p);
        case Scale::lightCurve:
            return double(viewport::Rendering::sliderToLightIntensity(p, hi));
    }
    return lo;
}

int SliderRow::positionOf(double value) const {
    const double lo = options_.lower, hi = options_.upper;
    double p = 0;
    switch (options_.scale) {
        case Scale::linear:
            p = hi > lo ? (value - lo) / (hi - lo) : 0;
            break;
        case Scale::logarithmic:
            p = hi > lo && value > 0 ? std::log(value / lo) / std::log(hi / lo) : 0;
            break;
        case Scale::lightCurve:
            p = viewport::Rendering::lightIntensityToSlider(float(value), hi);
            break;
    }
    if (!std::isfinite(p)) p = 0;
    return int(std::lround(std::clamp(p, 0.0, 1.0) * steps));
}

void SliderRow::display(double value, bool slider, bool spin) {
    if (slider) {
        const QSignalBlocker block(slider_);
        slider_->setValue(positionOf(value));
    }
    if (spin && spinBox_) {
        const QSignalBlocker block(spinBox_);
        spinBox_->setValue(value);
    }
    if (text_)
        text_->setText(options_.text ? options_.text(value)
                                     : localNumber(value, options_.decimals) + options_.suffix);
}

}  // namespace vistrel::app
