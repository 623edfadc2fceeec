// What the headless modes share: bounded slices of the main loop, and the end of the process.
#pragma once

#include <string>

namespace vistrel::app::HeadlessRun {

// Runs the main loop for `seconds`, so that layout, timers and GPU work proceed.
void runLoop(double seconds);

// Writes `message` and a line feed to standard error; returns `status`.
int fail(int status, const std::string& message);

// What exit() throws. The application catches it around the mode and returns the status from
// main, so that every object of the run, and the QApplication last, goes as in a normal quit.
struct Exit {
    int status;
};

// Ends the mode, and with it the process, with `status`.
[[noreturn]] void exit(int status);

}  // namespace vistrel::app::HeadlessRun
