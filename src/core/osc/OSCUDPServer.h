// One IPv4 UDP socket that receives OSC on its own thread, decodes each datagram and hands every
// message to a handler. It knows nothing of what the messages mean. Every failure is silent.
//
// Threads: start, stop and destruction belong to one owning thread. The handler runs on the
// receive thread with no lock held; it may call stop, but must not destroy the server, and a
// slow handler holds up reception (datagrams then queue in the system's buffer, and are lost
// when it overflows).
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "osc/OSCCodec.h"

namespace vistrel {

class OSCUDPServer {
  public:
    using Handler = std::function<void(const OSCCodec::Message&)>;

    static constexpr size_t receiveBufferSize = 8192;

    // Touches no network. A port of 0 asks the system for any port.
    OSCUDPServer(uint16_t port, Handler handler);
    // Stops, and waits for the receive thread to end.
    ~OSCUDPServer();
    OSCUDPServer(const OSCUDPServer&) = delete;
    OSCUDPServer& operator=(const OSCUDPServer&) = delete;

    // Binds the first free port of port, port+1, ... (maxPortAttempts of them when port is not
    // 0, never past 65535) on all interfaces and starts receiving. True when listening, also
    // when it already was; false leaves port as it was.
    bool start(int maxPortAttempts);
    // Closes the socket, which ends the receive loop. Repeatable.
    void stop();

    // The wanted port; after a successful start, the port bound.
    uint16_t port() const;
    bool isRunning() const;

    // Fire and forget, one datagram from a fresh socket. host must be a dotted-quad IPv4
    // literal: no name is resolved, and any other text sends nothing.
    static void send(const OSCCodec::Message& message, const std::string& host, uint16_t port);

  private:
    void receiveLoop(int fd);
    void joinReceiver();

    mutable std::mutex lock_;  // guards port_, isRunning_, socketFD_
    uint16_t port_;
    bool isRunning_ = false;
    int socketFD_ = -1;
    Handler handler_;
    std::thread receiver_;
};

}  // namespace vistrel
