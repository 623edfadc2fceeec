// The five auxiliary windows: each view as a picture in both languages, one shared window per
// kind brought back when asked again, settings written the moment a control changes, and the
// update view's pages and buttons following its updater.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QSlider>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ImageCompare.h"
#include "ScopedLanguage.h"
#include "headless/Snapshot.h"
#include "settings/Localization.h"
#include "ui/ShortcutText.h"
#include "ui/windows/AboutView.h"
#include "ui/windows/AboutWindowController.h"
#include "ui/windows/AuxiliaryWindows.h"
#include "ui/windows/HelpView.h"
#include "ui/windows/HelpWindowController.h"
#include "ui/windows/SettingsView.h"
#include "ui/windows/ShortcutsView.h"
#include "ui/windows/UpdateView.h"
#include "ui/windows/UpdateWindowController.h"
#include "update/Updater.h"
#include "view/ViewportView.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

class RecordingUpdater : public Updater {
  public:
    std::string currentVersion() const override { return "1.1.0"; }
    void checkForUpdates(bool silent) override {
        checks.push_back(silent);
        setState(Checking{});
    }
    void downloadAndInstall(const ReleaseInfo& release) override { installed = release.version; }
    std::optional<std::string> systemManagedNote() const override { return note; }
    using Updater::setState;

    std::optional<std::string> note;

    std::vector<bool> checks;
    std::string installed;
};

Updater::ReleaseInfo release() {
    Updater::ReleaseInfo info;
    info.version = "1.2.0";
    info.notesFR = "Lecture plus rapide des grands fichiers DWG.";
    info.notesEN = "Faster reading of large DWG files.";
    return info;
}

template <class Control = QAbstractButton>
Control* named(QWidget& parent, const std::string& text) {
    for (Control* control : parent.findChildren<Control*>())
        if (control->text() == shortcutText(text)) return control;
    return nullptr;
}

::testing::AssertionResult looksLike(QWidget& view, const std::string& baseline) {
    const auto rendering = Snapshot::render(view);
    if (!rendering) return ::testing::AssertionFailure() << "no picture";
    const QImage picture = rendering->bitmap.convertToFormat(QImage::Format_RGBA8888);
    viewport::Image image{picture.width(), picture.height(), false, {}};
    image.pixels.assign(picture.constBits(), picture.constBits() + picture.sizeInBytes());
    return test::matchesBaseline(image, baseline, 6, 0.002);
}

class AuxiliaryWindowsTest : public test::DocumentModelTest {
  protected:
    void TearDown() override {
        Updater::setShared(nullptr);
        viewport::ViewportView::twoFingerScrollZooms = false;
        DocumentModelTest::TearDown();
    }
};

}  // namespace

TEST_F(AuxiliaryWindowsTest, eachViewLooksRightInBothLanguages) {
    RecordingUpdater updater;
    updater.setState(Updater::UpdateAvailable{release()});
    for (AppLanguage language : {AppLanguage::fr, AppLanguage::en}) {
        test::ScopedLanguage scoped(language);
        const std::string suffix = language == AppLanguage::fr ? "_fr" : "_en";
        AboutView about(std::nullopt, "1.1.0 (1)");
        EXPECT_TRUE(looksLike(about, "window_about" + suffix));
        ShortcutsView shortcuts;
        EXPECT_TRUE(looksLike(shortcuts, "window_shortcuts" + suffix));
        HelpView help;
        EXPECT_TRUE(looksLike(help, "window_help" + suffix));
        SettingsView settings(SettingsView::Ports{9150, 17950});  // another test's server aside
        EXPECT_TRUE(looksLike(settings, "window_settings" + suffix));
        UpdateView update(updater);
        EXPECT_TRUE(looksLike(update, "window_update" + suffix));
    }
}

TEST_F(AuxiliaryWindowsTest, aWindowIsSharedBroughtBackAndGivenAFreshView) {
    test::ScopedLanguage english(AppLanguage::en);
    AuxiliaryWindows::showAbout();
    QWidget* about = AboutWindowController::shared().window();
    ASSERT_NE(about, nullptr);
    EXPECT_EQ(about->windowTitle(), "About Vistrel");
    about->close();
    AuxiliaryWindows::showAbout();
    EXPECT_EQ(AboutWindowController::shared().window(), about);
    EXPECT_TRUE(about->isVisible());
    EXPECT_EQ(about->findChildren<AboutView*>().size(), 1);

    AuxiliaryWindows::showHelp();
    QWidget* help = HelpWindowController::shared().window();
    auto* guide = help->findChild<HelpView*>();
    guide->select(HelpView::Section::oscAndMCP);
    EXPECT_EQ(help->findChild<QLabel*>()->text().toStdString(),
              "OSC control, Partivox discovery & MCP server");
    named<>(*guide, "Close")->click();
    EXPECT_FALSE(help->isVisible());
    AuxiliaryWindows::showHelp();
    test::waitUntil([&] { return help->findChildren<HelpView*>().size() == 1; }, 2);
    EXPECT_EQ(help->findChild<HelpView*>()->selected(), HelpView::Section::overview);
    EXPECT_EQ(help->width(), help->sizeHint().width()) << "sized to its content";
    about->close();
    help->close();

    // Updates: nothing without an updater; with one, a visible check and its window.
    AuxiliaryWindows::checkForUpdates();
    EXPECT_EQ(UpdateWindowController::shared().window(), nullptr);
    RecordingUpdater updater;
    Updater::setShared(&updater);
    AuxiliaryWindows::checkForUpdates();
    EXPECT_EQ(updater.checks, std::vector<bool>{false});
    ASSERT_NE(UpdateWindowController::shared().window(), nullptr);
    EXPECT_TRUE(UpdateWindowController::shared().window()->isVisible());
    UpdateWindowController::shared().window()->close();
}

TEST_F(AuxiliaryWindowsTest, eachSettingIsWrittenTheMomentItsControlChanges) {
    test::ScopedLanguage english(AppLanguage::en);
    SettingsView view;
    named<>(view, "Zoom")->click();
    EXPECT_TRUE(Preferences::boolValue("twoFingerScrollZooms"));
    EXPECT_TRUE(viewport::ViewportView::twoFingerScrollZooms) << "open views follow at once";
    named<>(view, "Grid and XYZ axes (⌥⌘G)")->click();
    named<>(view, "Show edges (⌘E)")->click();
    EXPECT_TRUE(Preferences::boolValue("showsGrid"));
    EXPECT_FALSE(Preferences::boolValue("showsEdges"));
    named<>(view, "Paper")->click();
    EXPECT_EQ(Preferences::backdropStyleRaw(), "warmPaper");
    view.findChild<QSlider*>()->setValue(150);
    EXPECT_FLOAT_EQ(Preferences::ambientOcclusionIntensity(), 1.5f);
    named<>(view, "OSC feedback to Partivox (:9151)")->click();
    EXPECT_FALSE(Preferences::boolValue("oscFeedbackEnabled"));
    named<>(view, "Check for updates on launch")->click();
    EXPECT_FALSE(Updater::autoCheckOnLaunch());
    view.findChild<QComboBox*>()->setCurrentIndex(1);
    EXPECT_EQ(Localization::current(), AppLanguage::fr);
    EXPECT_EQ(named<>(view, "Paper")->text(), "Paper") << "the interface waits for a restart";
}

TEST_F(AuxiliaryWindowsTest, theUpdateViewShowsEachStateWithItsButtons) {
    test::ScopedLanguage english(AppLanguage::en);
    RecordingUpdater updater;
    UpdateView view(updater);
    int closes = 0;
    view.onClose = [&] { ++closes; };
    auto page = [&](const std::string& text) {
        test::waitUntil([] { return false; }, 0.01);  // old pages go on the next pass
        for (QLabel* label : view.findChildren<QLabel*>())
            if (label->isVisibleTo(&view) && label->text().toStdString() == text) return true;
        return false;
    };
    EXPECT_TRUE(page("Checking for updates…")) << "idle until a check starts";

    updater.setState(Updater::UpdateAvailable{release()});
    EXPECT_TRUE(page("NEW VERSION v1.2.0") && page("Faster reading of large DWG files."));
    named<>(view, "Update & Relaunch")->click();
    EXPECT_EQ(updater.installed, "1.2.0");
    named<>(view, "Later")->click();
    EXPECT_EQ(closes, 1);

    updater.setState(Updater::Failed{"The feed could not be reached."});
    EXPECT_TRUE(page("Could not check or install update"));
    named<>(view, "Check Again")->click();
    EXPECT_EQ(updater.checks, std::vector<bool>{false});
    EXPECT_TRUE(page("Checking for updates…"));

    updater.setState(Updater::UpToDate{"1.1.0"});
    EXPECT_TRUE(page("Vistrel v1.1.0 is up to date."));
    updater.setState(Updater::Downloading{0.5});
    EXPECT_TRUE(page("Downloading update…"));
    updater.setState(Updater::Installing{});
    EXPECT_TRUE(page("Verifying code signature and installing…"));

    // A system package says where its updates come from and offers no install.
    updater.note = "Updates come from the package manager.";
    updater.setState(Updater::UpdateAvailable{release()});
    EXPECT_TRUE(page("Updates come from the package manager."));
    EXPECT_EQ(named<>(view, "Update & Relaunch"), nullptr);
    named<>(view, "Close")->click();
    EXPECT_EQ(closes, 2);
}
