// The whole menu bar of a document window, item by item: title, key, and whether it is enabled,
// disabled or hidden for a loaded, a loading and a failed document; the document's items do
// what they say on the loaded one.
#include "ui/MainMenu.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QMenuBar>

#include <functional>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ScopedLanguage.h"
#include "documents/SKPDocument.h"
#include "ui/ContentView.h"
#include "ui/DocumentActions.h"
#include "ui/DocumentWindow.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

using Check = std::function<bool(const DocumentModel&)>;

struct Item {
    const char *menu, *title, *key;
    // Per document, loaded / loading / failed: E enabled, D disabled, H hidden; a trailing
    // "+" on the loaded one is a check mark.
    const char *loaded, *loading, *failed;
    Check effect = nullptr;  // after triggering it on the loaded document
};

const std::vector<Item>& expected() {
    using viewport::ShadingStyle;
    using viewport::StandardView;
    static const std::vector<Item> items{
        {"Vistrel", "About Vistrel", "", "E", "E", "E"},
        {"Vistrel", "Check for Updates…", "", "E", "E", "E"},
        {"Vistrel", "Settings…", "Ctrl+,", "E", "E", "E"},
        {"Vistrel", "Hide Vistrel", "Ctrl+H", "E", "E", "E"},
        {"Vistrel", "Hide Others", "Ctrl+Alt+H", "E", "E", "E"},
        {"Vistrel", "Show All", "", "E", "E", "E"},
        {"Vistrel", "Quit Vistrel", "Ctrl+Q", "E", "E", "E"},
        {"File", "Open…", "Ctrl+O", "E", "E", "E"},
        {"File", "Export PNG Image…", "Ctrl+Shift+E", "E", "D", "D"},
        {"File", "Export Vector PDF…", "Ctrl+Alt+E", "E", "D", "D"},
        {"File", "Open in SketchUp", "Ctrl+Shift+O", "H", "H", "H"},
        {"File", "Show in File Manager", "", "E", "E", "E"},
        {"File", "Close", "Ctrl+W", "E", "E", "E"},
        {"Edit", "Copy Image", "Ctrl+C", "E", "D", "D"},
        {"View", "Sidebar", "Ctrl+Alt+S", "E+", "D", "D", [](auto& m) { return !m.showSidebar(); }},
        {"View", "Edges", "Ctrl+E", "E+", "D+", "D+", [](auto& m) { return !m.showsEdges(); }},
        {"View", "Grid and Axes", "Ctrl+Alt+G", "E", "D", "D",
         [](auto& m) { return m.showsGrid(); }},
        {"View", "Perspective / Parallel", "Ctrl+Alt+P", "E+", "D+", "D+",
         [](auto& m) { return !m.isPerspective(); }},
        {"View", "Shadows", "Ctrl+Alt+O", "E+", "D+", "D+",
         [](auto& m) { return !m.shadowsEnabled(); }},
        {"View", "Point Lighting", "Ctrl+Alt+L", "E", "D", "D",
         [](auto& m) { return m.lightingMode() == viewport::LightingMode::point; }},
        {"View", "Ambient Occlusion", "Ctrl+Alt+A", "E", "D", "D",
         [](auto& m) { return m.ambientOcclusionEnabled(); }},
        {"View", "Style: Textured (PBR)", "", "E+", "D+", "D+"},
        {"View", "Style: White Clay", "", "E", "D", "D",
         [](auto& m) { return m.shadingStyle() == ShadingStyle::clay; }},
        {"View", "Style: X-Ray", "", "E", "D", "D",
         [](auto& m) { return m.shadingStyle() == ShadingStyle::xray; }},
        {"View", "Style: Wireframe", "", "E", "D", "D",
         [](auto& m) { return m.shadingStyle() == ShadingStyle::wireframe; }},
        {"View", "Reset View", "Z", "E", "D", "D"},
        {"View", "Zoom Extents", "Shift+Z", "E", "D", "D"},
        {"View", "Free Fly Mode", "Ctrl+Alt+F", "E", "D", "D",
         [](auto& m) { return m.isFreeFlying(); }},
        {"View", "Previous Scene", "Ctrl+[", "E", "D", "D",
         [](auto& m) { return m.selectedScene() == 0; }},
        {"View", "Previous Scene (10× slow transition)", "Ctrl+Shift+[", "E", "D", "D",
         [](auto& m) { return m.selectedScene() == 0; }},
        {"View", "Next Scene", "Ctrl+]", "E", "D", "D",
         [](auto& m) { return m.selectedScene() == 2; }},
        {"View", "Next Scene (10× slow transition)", "Ctrl+Shift+]", "E", "D", "D",
         [](auto& m) { return m.selectedScene() == 2; }},
        {"Camera", "Iso", "Ctrl+1", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::iso; }},
        {"Camera", "Top", "Ctrl+2", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::top; }},
        {"Camera", "Front", "Ctrl+3", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::front; }},
        {"Camera", "Right", "Ctrl+4", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::right; }},
        {"Camera", "Back", "Ctrl+5", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::back; }},
        {"Camera", "Left", "Ctrl+6", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::left; }},
        {"Camera", "Bottom", "Ctrl+7", "E", "D", "D",
         [](auto& m) { return m.activeStandardView() == StandardView::bottom; }},
        {"Window", "Minimize", "Ctrl+M", "E", "E", "E"},
        {"Window", "Zoom", "", "E", "E", "E"},
        {"Window", "Bring All to Front", "", "E", "E", "E"},
        {"Help", "Vistrel Help", "Ctrl+?", "E", "E", "E"},
        {"Help", "Keyboard Shortcuts", "Ctrl+/", "E", "E", "E"},
    };
    return items;
}

std::string stateOf(const QAction& action) {
    std::string state = !action.isVisible() ? "H" : action.isEnabled() ? "E" : "D";
    return state + (action.isChecked() ? "+" : "");
}

class MainMenuTest : public test::DocumentModelTest {
  protected:
    // A document window in one of the three states, with its menus up to date.
    DocumentWindow& window(int which) {
        auto* document = new SKPDocument;
        documents_.push_back(document);
        if (which == 0) {
            auto scene =
                std::make_shared<viewport::ViewportScene>(test::groupedModel(test::threeScenes()));
            document->model().present(scene, 0.5);
        } else if (which == 2) {
            document->model().setState(DocumentModel::Failed{"unreadable"});
        }
        document->makeWindowControllers();
        auto& shown = *qobject_cast<DocumentWindow*>(document->window());
        for (QAction* menu : shown.menuBar()->actions()) {
            emit menu->menu()->aboutToShow();
            emit menu->menu()->aboutToHide();
        }
        return shown;
    }
    void TearDown() override {
        for (SKPDocument* document : documents_) document->close();
        test::waitUntil([] { return false; }, 0.05);
        SKPDocument::waitForLoads();
        DocumentModelTest::TearDown();
    }

    test::ScopedLanguage english{AppLanguage::en};
    std::vector<SKPDocument*> documents_;
};

}  // namespace

TEST_F(MainMenuTest, everyItemHasItsKeyAndFollowsTheDocumentsStateAndActs) {
    std::vector<DocumentWindow*> windows{&window(0), &window(1), &window(2)};
    std::vector<std::vector<QAction*>> items(3);
    std::vector<std::string> menus;
    for (size_t w = 0; w < windows.size(); ++w)
        for (QAction* menu : windows[w]->menuBar()->actions())
            for (QAction* item : menu->menu()->actions()) {
                if (item->isSeparator()) continue;
                items[w].push_back(item);
                if (w == 0) menus.push_back(menu->text().toStdString());
            }

    const auto& table = expected();
    ASSERT_EQ(items[0].size(), table.size());
    for (size_t i = 0; i < table.size(); ++i) {
        const Item& row = table[i];
        QAction& item = *items[0][i];
        SCOPED_TRACE(row.title);
        EXPECT_EQ(item.text().toStdString(), row.title);
        EXPECT_EQ(menus[i], row.menu);
        EXPECT_EQ(item.shortcut().toString(QKeySequence::PortableText).toStdString(), row.key);
        EXPECT_EQ(stateOf(item), row.loaded);
        EXPECT_EQ(stateOf(*items[1][i]), row.loading);
        EXPECT_EQ(stateOf(*items[2][i]), row.failed);
    }

    // In the open menu, without Shift, each slow scene step waits behind its plain one.
    QAction* previous = items[0][28];
    QAction* previousSlow = items[0][29];
    QMenu* view = windows[0]->menuBar()->actions()[3]->menu();
    emit view->aboutToShow();
    EXPECT_TRUE(previous->isVisible() && !previousSlow->isVisible());
    emit view->aboutToHide();
    EXPECT_TRUE(previousSlow->isVisible()) << "its key works with the menu closed";

    // Each document item acts on the loaded document; scenes step from the middle one.
    DocumentModel& model = windows[0]->content().model();
    for (size_t i = 0; i < table.size(); ++i) {
        if (!table[i].effect) continue;
        SCOPED_TRACE(table[i].title);
        model.selectScene(1);
        windows[0]->actions().refresh();
        items[0][i]->trigger();
        EXPECT_TRUE(table[i].effect(model));
        model.viewport().setFreeFlying(false);
    }
}
