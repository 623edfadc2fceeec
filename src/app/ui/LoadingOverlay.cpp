#include "ui/LoadingOverlay.h"

#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <cmath>

#include "documents/DocumentModel.h"
#include "settings/Localization.h"
#include "ui/Theme.h"

namespace vistrel::app {

namespace {

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

}  // namespace

LoadingOverlay::LoadingOverlay(DocumentModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      thumbnail_(new QLabel(this)),
      heading_(new QLabel(this)),
      name_(new QLabel(this)),
      detail_(new QLabel(this)),
      progress_(new QProgressBar(this)),
      openInSketchUp_(new QPushButton(text(L("Ouvrir dans SketchUp", "Open in SketchUp")), this)) {
    setAttribute(Qt::WA_StyledBackground, false);
    auto* layout = new QVBoxLayout(this);
    layout->addStretch(1);
    for (QLabel* label : {thumbnail_, heading_, name_, detail_}) {
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
        layout->addWidget(label, 0, Qt::AlignHCenter);
    }
    QFont big = heading_->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    heading_->setFont(big);
    name_->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    detail_->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    detail_->setMaximumWidth(640);
    progress_->setRange(0, 1000);
    progress_->setTextVisible(false);
    progress_->setFixedWidth(320);
    layout->addWidget(progress_, 0, Qt::AlignHCenter);
    layout->addWidget(openInSketchUp_, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    connect(openInSketchUp_, &QPushButton::clicked, this, [this] { model_.openInSketchUp(); });
    for (auto signal : {&DocumentModel::stateChanged, &DocumentModel::infoChanged,
                        &DocumentModel::thumbnailChanged, &DocumentModel::sketchUpAppChanged})
        connect(&model_, signal, this, &LoadingOverlay::refresh);
    refresh();
}

void LoadingOverlay::refresh() {
    const auto& state = model_.state();
    setVisible(!model_.isReady());
    if (model_.isReady()) return;

    const auto& info = model_.info();
    const QImage& image = model_.thumbnail();
    thumbnail_->setVisible(!image.isNull());
    if (!image.isNull())
        thumbnail_->setPixmap(QPixmap::fromImage(
            image.scaled(360, 240, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    QString name = info ? text(info->url.filename().string()) : QString();
    if (info && info->versionLabel) name += " · " + text(*info->versionLabel);
    name_->setText(name);

    if (auto* failed = std::get_if<DocumentModel::Failed>(&state)) {
        heading_->setText(
            text(L("Impossible d'ouvrir le modèle", "The model could not be opened")));
        detail_->setText(text(failed->description));
        progress_->hide();
        openInSketchUp_->setVisible(model_.sketchUpApp().has_value());
        return;
    }
    const auto& loading = std::get<DocumentModel::Loading>(state);
    heading_->setText(text(L("Ouverture du modèle…", "Opening model…")));
    openInSketchUp_->hide();
    progress_->show();
    if (loading.progress) {
        detail_->setText(text(loading.progress->phase));
        if (loading.progress->fraction) {
            progress_->setRange(0, 1000);
            progress_->setValue(
                int(std::lround(std::clamp(*loading.progress->fraction, 0.0, 1.0) * 1000)));
        } else {
            progress_->setRange(0, 0);  // busy
        }
    } else {
        detail_->setText(QString());
        progress_->setRange(0, 0);
    }
}

QString LoadingOverlay::heading() const {
    return heading_->text();
}

QString LoadingOverlay::detail() const {
    return detail_->text();
}

bool LoadingOverlay::showsProgress() const {
    return progress_->isVisible();
}

bool LoadingOverlay::offersOpenInSketchUp() const {
    return openInSketchUp_->isVisible();
}

void LoadingOverlay::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(Theme::background));
}

}  // namespace vistrel::app
