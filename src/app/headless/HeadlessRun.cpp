#include "headless/HeadlessRun.h"

#include <QEventLoop>
#include <QTimer>

#include <chrono>
#include <cmath>
#include <cstdio>

namespace vistrel::app::HeadlessRun {

void runLoop(double seconds) {
    QEventLoop loop;
    QTimer::singleShot(std::chrono::milliseconds(std::lround(seconds * 1000)), Qt::PreciseTimer,
                       &loop, &QEventLoop::quit);
    loop.exec();
}

int fail(int status, const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    return status;
}

void exit(int status) {
    throw Exit{status};
}

}  // namespace vistrel::app::HeadlessRun
