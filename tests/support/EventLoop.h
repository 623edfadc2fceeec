// Runs the Qt event loop from a test until something holds, as the application's loop would:
// posted calls, timers and deferred deletes included.
#pragma once

#include <QCoreApplication>
#include <QEvent>

#include <chrono>

namespace vistrel::test {

// False when `done` still does not hold after `seconds`.
template <class Predicate>
bool waitUntil(Predicate done, double seconds = 10) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        // processEvents alone leaves deleteLater() undone.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}

}  // namespace vistrel::test
