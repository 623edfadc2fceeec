// The program checking itself without a user, in a few seconds: header parsing, the SketchUp
// library's presence, the scene builder and the offscreen renderer on the built-in cube, and,
// given a file, that a real model loads. Needs neither a model, the closed library, a display
// nor a GPU.
//
// Prints "PASS: …" (and "INFO: …") lines on standard output and "FAIL: …" lines on standard
// error, in English, then the verdict; every step runs whatever failed before it. Main thread
// only, inside the QApplication.
#pragma once

#include <optional>
#include <string>

namespace vistrel::app::SelfTest {

// Ends the process (HeadlessRun::exit): status 0 when every check passed, 1 otherwise. A leading
// "~" of `file` is the home folder.
[[noreturn]] void runAndExit(const std::optional<std::string>& file);

}  // namespace vistrel::app::SelfTest
