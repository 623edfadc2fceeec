// Starts the toolkit and runs the event loop in the mode the command line chose.
#pragma once

namespace vistrel::app {

int runApplication(int argc, char** argv);

}  // namespace vistrel::app
