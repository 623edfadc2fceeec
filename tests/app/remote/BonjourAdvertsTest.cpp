// The publisher that bonjour_namespace.sh drives while a private avahi-daemon watches.
// Commands come on standard input, one a line, until it closes:
//   publish NAME HTTP_PORT OSC_PORT
//   withdraw
// Each is answered "ok" once the call returned. A name collision prints "collision" and
// republishes as "Vistrel <http port>", as the remote server does.
#include <QCoreApplication>
#include <cstdio>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "remote/BonjourAdverts.h"

using vistrel::app::BonjourAdverts;

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    uint16_t httpPort = 0;
    uint16_t oscPort = 0;
    std::unique_ptr<BonjourAdverts> adverts;
    adverts = std::make_unique<BonjourAdverts>([&] {
        std::printf("collision\n");
        std::fflush(stdout);
        adverts->publish("Vistrel " + std::to_string(httpPort), httpPort, oscPort);
    });

    auto run = [&](const std::string& line) {
        std::istringstream words(line);
        std::string command, name;
        words >> command;
        if (command == "publish" && words >> name >> httpPort >> oscPort)
            adverts->publish(name, httpPort, oscPort);
        else if (command == "withdraw")
            adverts->withdraw();
        else
            return;
        std::printf("ok\n");
        std::fflush(stdout);
    };
    // Standard input is read on its own thread; the commands run on the main one.
    std::thread reader([&] {
        for (std::string line; std::getline(std::cin, line);)
            QMetaObject::invokeMethod(
                &application, [&run, line] { run(line); }, Qt::QueuedConnection);
        QMetaObject::invokeMethod(&application, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    const int status = application.exec();
    reader.join();
    return status;
}
