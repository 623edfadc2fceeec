// Scrolling the sidebar's layer list through a 10,000-layer model, every group open: the list
// moves a few rows at a time and each frame is painted at once. Prints the frame time
// (median, p95, max) and the number of frames, after the time to open the sidebar and to
// open every group.
//
//   QT_QPA_PLATFORM=offscreen build/release/bench/sidebar_scroll_bench [layers]
#include <QApplication>
#include <QListView>
#include <QScrollBar>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ManualClock.h"
#include "ManualTimer.h"
#include "ManyLayersModel.h"
#include "TestEnv.h"
#include "documents/DocumentModel.h"
#include "settings/SettingsStore.h"
#include "shell/Preferences.h"
#include "ui/Theme.h"
#include "ui/sidebar/LayerListModel.h"
#include "ui/sidebar/LayerRowDelegate.h"
#include "ui/sidebar/LayersSection.h"
#include "ui/sidebar/Sidebar.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    if (!std::getenv("QT_QPA_PLATFORM")) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const int layers = argc > 1 ? std::max(2, std::atoi(argv[1])) : 10000;
    QApplication application(argc, argv);
    Theme::apply(application);
    test::TempDir dir;
    SettingsStore store(dir / "settings.json");
    Preferences::setStore(&store);
    Preferences::registerDefaults();
    test::ManualTimer timer;
    test::ManualClock clock;
    {
        DocumentModel model(timer, clock);
        model.set(test::manyLayersModel(layers));

        auto start = Clock::now();
        Sidebar sidebar(model, nullptr);
        sidebar.resize(Sidebar::fullWidth, 900);
        sidebar.show();
        QApplication::processEvents();
        sidebar.repaint();
        const double open = millisecondsSince(start);
        start = Clock::now();
        model.setAllLayerGroupsExpanded(true);
        sidebar.repaint();
        const double expand = millisecondsSince(start);

        QListView& view = sidebar.layers().view();
        QScrollBar& bar = *view.verticalScrollBar();
        const int step = 3 * LayerRowDelegate::rowHeight;
        std::vector<double> frames;
        for (int value = 0; value <= bar.maximum(); value += step) {
            start = Clock::now();
            bar.setValue(value);
            view.viewport()->repaint();
            frames.push_back(millisecondsSince(start));
        }
        std::sort(frames.begin(), frames.end());
        auto at = [&](double q) { return frames[size_t(q * double(frames.size() - 1))]; };
        std::printf("sidebar %dx%d, %d layers, %d rows\n", sidebar.width(), sidebar.height(),
                    layers, sidebar.layers().rows().rowCount());
        std::printf("open %.1f ms, expand all %.1f ms\n", open, expand);
        std::printf("scroll by 3 rows: %zu frames, median %.3f ms, p95 %.3f ms, max %.3f ms\n",
                    frames.size(), at(0.5), at(0.95), frames.back());
    }
    Preferences::setStore(nullptr);
    return 0;
}
