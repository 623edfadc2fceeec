// Entry: the informational flags are answered before any toolkit object exists.
#include <cstdio>
#include <string>
#include <vector>

#include "shell/Application.h"
#include "shell/LaunchOptions.h"

int main(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (auto text = vistrel::app::informationalText(arguments)) {
        std::puts(text->c_str());
        return 0;
    }
    return vistrel::app::runApplication(argc, argv);
}
