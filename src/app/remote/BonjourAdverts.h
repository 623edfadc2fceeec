// The remote server's two DNS-SD adverts, published through the Avahi daemon in one entry group.
//
// Every exchange with the daemon runs on Avahi's own poll thread, so no call here waits on
// D-Bus. A missing daemon or system bus is not an error: nothing is published until it
// appears, and the adverts come back by themselves after the daemon restarts. Failures other
// than a name collision are dropped.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vistrel::app {

class BonjourAdverts {
  public:
    static constexpr const char* httpServiceType = "_oscjson._tcp";
    static constexpr const char* oscServiceType = "_osc._udp";

    // Made on the main thread, inside a running QCoreApplication. onNameCollision is called
    // there, queued, when the daemon reports that the published name is taken; it may call
    // publish() with another name.
    explicit BonjourAdverts(std::function<void()> onNameCollision);
    // Withdraws the adverts.
    ~BonjourAdverts();
    BonjourAdverts(const BonjourAdverts&) = delete;
    BonjourAdverts& operator=(const BonjourAdverts&) = delete;

    // Replaces what is published: httpServiceType on httpPort and oscServiceType on oscPort,
    // both under `name`. A port of 0 leaves that advert out. Returns at once.
    void publish(const std::string& name, uint16_t httpPort, uint16_t oscPort);
    void withdraw();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace vistrel::app
