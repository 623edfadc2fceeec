// The sidebar over a model: its picture with ten thousand layers, clicks on its rows calling
// the model's commands, and the model's own changes moving the rows, the scenes and the list.
#include "ui/sidebar/Sidebar.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>

#include "DocumentModelFixture.h"
#include "ImageCompare.h"
#include "ManyLayersModel.h"
#include "ScopedLanguage.h"
#include "ui/sidebar/LayerListModel.h"
#include "ui/sidebar/LayerRowDelegate.h"
#include "ui/sidebar/LayersSection.h"
#include "ui/sidebar/ModelInspector.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

using Kind = LayerListModel::Kind;

class SidebarTest : public test::DocumentModelTest {
  protected:
    std::unique_ptr<Sidebar> show(QSize size) {
        auto sidebar = std::make_unique<Sidebar>(doc(), nullptr);
        sidebar->resize(size);
        sidebar->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(sidebar.get()));
        return sidebar;
    }

    // Where a control of a row lies in the list's viewport.
    static QPoint at(const Sidebar& sidebar, int row, QRect LayerRowDelegate::Parts::*part) {
        const LayerListModel& rows = sidebar.layers().rows();
        const QRect rect = sidebar.layers().view().visualRect(rows.index(row));
        const auto kind = rows.row(row).kind;
        return (LayerRowDelegate::parts(rect, kind == Kind::member, kind == Kind::group).*part)
            .center();
    }
    static void click(const Sidebar& sidebar, int row, QRect LayerRowDelegate::Parts::*part) {
        QTest::mouseClick(sidebar.layers().view().viewport(), Qt::LeftButton, {},
                          at(sidebar, row, part));
    }
    static Qt::CheckState shown(const Sidebar& sidebar, int row) {
        const LayerListModel& rows = sidebar.layers().rows();
        return rows.index(row).data(Qt::CheckStateRole).value<Qt::CheckState>();
    }
};

TEST_F(SidebarTest, tenThousandLayersDrawAndFollowTheViewportsPick) {
    test::ScopedLanguage french(AppLanguage::fr);
    doc().set(test::manyLayersModel(10000));
    const auto& groups = doc().skp()->layerGroups();
    ASSERT_EQ(groups.size(), 251u);  // Layer0 alone, then 250 folders of 40
    doc().toggleLayerGroupExpanded(groups[3].id);
    doc().toggleLayerGroupExpanded(groups[5].id);
    doc().selectLayer(groups[3].layerIndices[2]);
    doc().toggleLayer(groups[3].layerIndices[4]);
    doc().setHoveredLayer(groups[3].layerIndices[6]);
    auto sidebar = show({Sidebar::fullWidth, 640});
    ASSERT_EQ(sidebar->width(), Sidebar::fullWidth);
    const LayerListModel& rows = sidebar->layers().rows();
    EXPECT_EQ(rows.rowCount(), 251 + 80);

    const QImage picture = sidebar->grab().toImage().convertToFormat(QImage::Format_RGBA8888);
    viewport::Image image{picture.width(), picture.height(), false, {}};
    image.pixels.assign(picture.constBits(), picture.constBits() + picture.sizeInBytes());
    EXPECT_TRUE(test::matchesBaseline(image, "sidebar_10000_layers_fr"));

    // A pick far down the list opens its group and brings its row into the middle.
    QListView& view = sidebar->layers().view();
    doc().selectLayerFromViewport(9001);
    const int row = rows.rowOfLayer(9001);
    ASSERT_GE(row, 0);
    EXPECT_EQ(view.currentIndex().row(), row);
    EXPECT_GT(view.verticalScrollBar()->value(), 0);
    EXPECT_TRUE(view.viewport()->rect().contains(view.visualRect(rows.index(row))));
}

TEST_F(SidebarTest, clicksCallTheCommandsAndTheModelMovesTheRows) {
    test::ScopedLanguage english(AppLanguage::en);
    present(test::groupedModel(test::threeScenes()));
    auto sidebar = show({Sidebar::fullWidth, 500});
    const LayerListModel& rows = sidebar->layers().rows();
    // Murs (open: Mur nord, Mur sud), Toiture, Vide.
    ASSERT_EQ(rows.rowCount(), 5);
    ASSERT_EQ(rows.row(0).kind, Kind::group);
    EXPECT_EQ(rows.text(1), "Mur nord");
    using Parts = LayerRowDelegate::Parts;

    click(*sidebar, 3, &Parts::eye);
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{true, true, false, true}));
    EXPECT_EQ(shown(*sidebar, 3), Qt::Unchecked);
    click(*sidebar, 0, &Parts::eye);
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{false, false, false, true}));
    EXPECT_EQ(shown(*sidebar, 0), Qt::Unchecked);
    doc().toggleLayer(1);
    EXPECT_EQ(shown(*sidebar, 0), Qt::PartiallyChecked) << "a group partly shown";
    click(*sidebar, 0, &Parts::eye);
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{true, true, false, true}));
    click(*sidebar, 4, &Parts::solo);
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{false, false, false, true}));
    click(*sidebar, 0, &Parts::solo);
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{true, true, false, false}));
    click(*sidebar, 3, &Parts::name);  // a double click's first half
    QTest::mouseDClick(sidebar->layers().view().viewport(), Qt::LeftButton, {},
                       at(*sidebar, 3, &Parts::name));
    EXPECT_TRUE(doc().layerVisible()[2]) << "zooming to a hidden layer shows it";

    click(*sidebar, 2, &Parts::name);
    EXPECT_EQ(doc().selectedLayerIndex(), 1);
    EXPECT_EQ(sidebar->layers().view().currentIndex().row(), 2);
    click(*sidebar, 0, &Parts::name);
    EXPECT_EQ(doc().selectedLayerGroupID(), rows.group(0).id);
    EXPECT_EQ(sidebar->layers().view().currentIndex().row(), 0);

    QMouseEvent move(QEvent::MouseMove, at(*sidebar, 3, &Parts::name), QPointF(), Qt::NoButton,
                     Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(sidebar->layers().view().viewport(), &move);
    EXPECT_EQ(doc().hoveredLayerIndex(), 2);
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(sidebar->layers().view().viewport(), &leave);
    EXPECT_EQ(doc().hoveredLayerIndex(), std::nullopt);

    click(*sidebar, 0, &Parts::chevron);
    EXPECT_TRUE(doc().expandedLayerGroups().empty());
    EXPECT_EQ(rows.rowCount(), 3);
    sidebar->layers().button("expandAllGroups").click();
    EXPECT_EQ(rows.rowCount(), 5);
    sidebar->layers().button("hideAllLayers").click();
    EXPECT_EQ(doc().visibleLayerCount(), 0);

    // The filter keeps a group for a matching member, and follows the model.
    QTest::keyClicks(&sidebar->layers().filterField(), "SUD");
    EXPECT_EQ(doc().layerFilter(), "SUD");
    EXPECT_EQ(rows.rowCount(), 2);
    doc().setLayerFilter("toit");
    EXPECT_EQ(sidebar->layers().filterField().text(), "toit");
    EXPECT_EQ(rows.rowCount(), 1);
    doc().selectLayerFromViewport(0);
    EXPECT_EQ(rows.rowCount(), 5) << "a pick the filter hides clears it";
    EXPECT_EQ(sidebar->layers().view().currentIndex().row(), 1);

    // Scenes: a click selects, the model's choice moves the list.
    QListWidget& scenes = sidebar->scenes();
    ASSERT_EQ(scenes.count(), 3);
    QTest::mouseClick(scenes.viewport(), Qt::LeftButton, {},
                      scenes.visualItemRect(scenes.item(0)).center());
    EXPECT_EQ(doc().selectedScene(), 0);
    EXPECT_EQ(doc().layerVisible(), (std::vector<bool>{true, false, false, true}));
    doc().selectScene(2);
    EXPECT_EQ(scenes.currentRow(), 2);

    // The inspector opens on the model's figures.
    ModelInspector& inspector = sidebar->inspector();
    EXPECT_FALSE(inspector.isOpen());
    inspector.header().click();
    EXPECT_TRUE(inspector.isOpen());
    for (const char* figure : {"grouped.skp", "36 faces", "4 layers", "1.5 s"})
        EXPECT_TRUE(inspector.text().contains(figure)) << figure;

    // The column slides shut with the field, and a pick in the viewport opens it again.
    doc().toggleSidebar();
    EXPECT_TRUE(QTest::qWaitFor([&] { return sidebar->width() == 0; }, 2000));
    doc().selectLayerFromViewport(2);
    EXPECT_TRUE(QTest::qWaitFor([&] { return sidebar->width() == Sidebar::fullWidth; }, 2000));
    EXPECT_EQ(sidebar->layers().view().currentIndex().row(), 3);
}

}  // namespace
