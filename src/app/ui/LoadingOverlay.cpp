#include "ui/LoadingOverlay.h"

#include <QFontMetrics>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <cmath>

#include "documents/DocumentModel.h"
#include "settings/Localization.h"
#include "ui/Theme.h"

namespace vistrel::app {

namespace {

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

constexpr QChar breakOpportunity(0x200B);  // zero-width space

bool isSeparator(QChar c) {
    return c == '_' || c == '-' || c == '.' || c == '/' || c == '\\' || c == '(' || c == ')';
}

// Word wrap breaks only between words; a file name or path wider than the column would run out
// of the label. Such words get break opportunities, after a separator where one is close.
QString breakLongWords(const QString& s, const QFontMetrics& metrics, int width) {
    QString out;
    out.reserve(s.size() + 8);
    qsizetype start = 0;
    while (start < s.size()) {
        qsizetype end = start;
        while (end < s.size() && !s[end].isSpace()) ++end;
        QString word = s.mid(start, end - start);
        while (metrics.horizontalAdvance(word) > width) {
            qsizetype fits = 1;
            while (fits < word.size() && metrics.horizontalAdvance(word.left(fits + 1)) <= width)
                ++fits;
            qsizetype cut = fits;
            for (qsizetype i = fits; i > fits / 2; --i)
                if (isSeparator(word[i - 1])) {
                    cut = i;
                    break;
                }
            out += word.left(cut);
            out += breakOpportunity;
            word = word.mid(cut);
        }
        out += word;
        while (end < s.size() && s[end].isSpace()) out += s[end++];
        start = end;
    }
    return out;
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
      openInSketchUp_(new QPushButton(text(L("Ouvrir dans SketchUp", "Open in SketchUp")), this)),
      cancel_(new QPushButton(text(L("Annuler", "Cancel")), this)) {
    for (QLabel* label : {thumbnail_, heading_, name_, detail_}) {
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(true);
    }
    thumbnail_->setWordWrap(false);
    QFont big = heading_->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    heading_->setFont(big);
    heading_->setStyleSheet(QString("color: %1").arg(Theme::text));
    name_->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    detail_->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    progress_->setRange(0, 1000);
    progress_->setTextVisible(false);
    connect(openInSketchUp_, &QPushButton::clicked, this, [this] { model_.openInSketchUp(); });
    connect(cancel_, &QPushButton::clicked, this, &LoadingOverlay::cancelRequested);
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
    nameText_ = info ? text(info->url.filename().string()) : QString();
    if (info && info->versionLabel) nameText_ += " · " + text(*info->versionLabel);

    if (auto* failed = std::get_if<DocumentModel::Failed>(&state)) {
        headingText_ = text(L("Impossible d'ouvrir le modèle", "The model could not be opened"));
        detailText_ = text(failed->description);
        progress_->hide();
        cancel_->hide();
        openInSketchUp_->setVisible(model_.sketchUpApp().has_value());
    } else {
        const auto& loading = std::get<DocumentModel::Loading>(state);
        headingText_ = text(L("Ouverture du modèle…", "Opening model…"));
        openInSketchUp_->hide();
        progress_->show();
        cancel_->show();
        detailText_ = loading.progress ? text(loading.progress->phase) : QString();
        if (loading.progress && loading.progress->fraction) {
            progress_->setRange(0, 1000);
            progress_->setValue(
                int(std::lround(std::clamp(*loading.progress->fraction, 0.0, 1.0) * 1000)));
        } else {
            progress_->setRange(0, 0);  // busy
        }
    }
    arrange();
}

void LoadingOverlay::resizeEvent(QResizeEvent*) {
    arrange();
}

// One centred column: thumbnail, heading, name, detail, then the progress bar and cancel, or
// the button.
void LoadingOverlay::arrange() {
    const int column =
        std::max(1, std::min(width() - 2 * Theme::overlayMargin, Theme::overlayColumnWidth));
    struct Piece {
        QWidget* widget;
        QSize size;
    };
    std::vector<Piece> pieces;
    auto addText = [&](QLabel* label, const QString& s) {
        label->setText(breakLongWords(s, label->fontMetrics(), column));
        label->setVisible(!s.isEmpty());
        if (!s.isEmpty()) pieces.push_back({label, {column, label->heightForWidth(column)}});
    };
    addText(heading_, headingText_);
    addText(name_, nameText_);
    addText(detail_, detailText_);
    for (QWidget* w : {static_cast<QWidget*>(progress_), static_cast<QWidget*>(cancel_),
                       static_cast<QWidget*>(openInSketchUp_)})
        if (!w->isHidden()) {
            const int wide = w == progress_ ? Theme::overlayProgressWidth : w->sizeHint().width();
            pieces.push_back({w, {std::min(wide, column), w->sizeHint().height()}});
        }

    int textHeight = Theme::overlaySpacing * int(pieces.size() - 1);
    for (const Piece& p : pieces) textHeight += p.size.height();

    // The thumbnail takes what the texts leave, never more than its own size, and goes when
    // too little is left to make it out.
    const QImage& image = model_.thumbnail();
    const int room = height() - 2 * Theme::overlayMargin - textHeight - Theme::overlayGap;
    QSize shown;
    if (!image.isNull() && room >= Theme::overlayThumbnailMinimum) {
        const QSize bound(std::min(column, Theme::overlayThumbnailWidth),
                          std::min(room, Theme::overlayThumbnailHeight));
        shown = image.size().scaled(bound, Qt::KeepAspectRatio);
        if (shown.height() < Theme::overlayThumbnailMinimum) shown = QSize();
    }
    thumbnail_->setVisible(shown.isValid());
    if (shown.isValid()) {
        thumbnail_->setPixmap(
            QPixmap::fromImage(image.scaled(shown, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
        pieces.insert(pieces.begin(), {thumbnail_, shown});
    }

    const int total = textHeight + (shown.isValid() ? shown.height() + Theme::overlayGap : 0);
    int y = std::max(Theme::overlayMargin, (height() - total) / 2);
    for (const Piece& p : pieces) {
        p.widget->setGeometry((width() - p.size.width()) / 2, y, p.size.width(), p.size.height());
        y += p.size.height() + (p.widget == thumbnail_ ? Theme::overlayGap : Theme::overlaySpacing);
    }
}

QString LoadingOverlay::heading() const {
    return headingText_;
}

QString LoadingOverlay::detail() const {
    return detailText_;
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
