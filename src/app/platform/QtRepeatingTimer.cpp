#include "platform/QtRepeatingTimer.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cassert>
#include <cmath>

namespace vistrel::app {

QtRepeatingTimer::QtRepeatingTimer() {
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
        // A copy: the callback may stop this timer and start it with another one.
        auto callback = callback_;
        if (callback) callback();
    });
}

void QtRepeatingTimer::start(double interval, std::function<void()> callback) {
    assert(!timer_.isActive() && "starting a running timer");
    callback_ = std::move(callback);
    timer_.start(std::max(1, int(std::lround(interval * 1000))));
}

void QtRepeatingTimer::stop() {
    timer_.stop();
}

double maximumScreenFramesPerSecond() {
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return 0;
    double best = 0;
    for (const QScreen* screen : QGuiApplication::screens())
        best = std::max(best, double(screen->refreshRate()));
    return best;
}

}  // namespace vistrel::app
