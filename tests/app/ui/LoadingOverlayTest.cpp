// The cover over the viewport, loading and failed, small and large, in French and English: every
// text lies in full inside its own place and the cover, with nothing overlapping.
#include "ui/LoadingOverlay.h"

#include <gtest/gtest.h>

#include <QLabel>

#include "DocumentModelFixture.h"
#include "ImageCompare.h"
#include "ScopedLanguage.h"
#include "identify/SKPFileInfo.h"
#include "model/SKPError.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

// What of the cover is cut off or overlaps, or "" when every piece shows in full.
std::string clipping(const LoadingOverlay& overlay) {
    std::vector<QWidget*> shown;
    for (QWidget* w : overlay.findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        if (w->isVisibleTo(&overlay)) shown.push_back(w);
    for (QWidget* w : shown) {
        const QRect place = w->geometry();
        const auto* label = qobject_cast<const QLabel*>(w);
        const std::string what = label ? label->text().toStdString() : w->metaObject()->className();
        const QSize needs =
            label && label->pixmap().isNull()
                ? label->fontMetrics().boundingRect(place, Qt::TextWordWrap, label->text()).size()
                : w->sizeHint();
        if (needs.width() > place.width() || needs.height() > place.height())
            return what + " needs more room than it has";
        if (!overlay.rect().contains(place)) return what + " lies outside the cover";
        for (QWidget* other : shown)
            if (other != w && place.intersects(other->geometry())) return what + " overlaps";
    }
    return "";
}

class LoadingOverlayTest : public test::DocumentModelTest {
  protected:
    std::unique_ptr<LoadingOverlay> cover(const SKPFileInfo& file, DocumentModel::State state,
                                          QSize size) {
        model.reset();
        doc().setInfo(file);
        doc().setState(std::move(state));
        auto overlay = std::make_unique<LoadingOverlay>(doc(), nullptr);
        overlay->resize(size);
        return overlay;
    }
};

TEST_F(LoadingOverlayTest, textsShowInFullAtEverySizeAndInBothLanguages) {
    const auto corpus = test::corpusDir();
    if (!corpus) GTEST_SKIP() << "corpus absent";
    const SKPFileInfo cube = SKPFileInfo::read(*corpus / "skp" / "testup2__Cube.skp");
    ASSERT_TRUE(cube.thumbnailPNG && cube.versionLabel);
    SKPFileInfo longName = cube;  // words far wider than the column
    longName.url = "/tmp/" + std::string(60, 'x') + "_Plan-de-masse_Architecture-Tm-53_" +
                   std::string(90, 'y') + ".skp";
    for (AppLanguage language : {AppLanguage::fr, AppLanguage::en}) {
        test::ScopedLanguage scoped(language);
        const DocumentModel::State states[] = {
            DocumentModel::Loading{},
            DocumentModel::Loading{SKPReader::Progress{
                L("Assemblage de la géométrie GPU…", "Assembling GPU geometry…"), 1234, 0.94}},
            DocumentModel::Failed{SKPError::sketchUpNotFound({}).errorDescription()},
            DocumentModel::Failed{SKPError::unreadable(longName.url).errorDescription()}};
        for (const SKPFileInfo* file : {&cube, static_cast<const SKPFileInfo*>(&longName)})
            for (const auto& state : states)
                for (QSize size : {QSize(760, 420), QSize(1380, 780)}) {
                    auto overlay = cover(*file, state, size);
                    overlay->grab();  // lays out and paints as on screen
                    EXPECT_EQ(clipping(*overlay), "")
                        << overlay->heading().toStdString() << " / "
                        << overlay->detail().toStdString() << " at " << size.width();
                    EXPECT_FALSE(overlay->detail().contains(QChar(0x200B))) << "for the eye only";
                }
    }
    // The banner as people see it at the window's smallest.
    test::ScopedLanguage french(AppLanguage::fr);
    const auto banner = cover(
        cube, DocumentModel::Failed{SKPError::sketchUpNotFound({}).errorDescription()}, {760, 420});
    const QImage picture = banner->grab().toImage().convertToFormat(QImage::Format_RGBA8888);
    viewport::Image image{picture.width(), picture.height(), false, {}};
    image.pixels.assign(picture.constBits(), picture.constBits() + picture.sizeInBytes());
    EXPECT_TRUE(test::matchesBaseline(image, "overlay_failed_fr"));
}

}  // namespace
