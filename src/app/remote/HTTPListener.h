// The socket side of the HTTP API: one IPv4 listening socket, an accept thread, and one thread
// per connection that reads one request, hands it to a dispatcher and writes the one response.
// It knows nothing of what requests mean. Every failure is silent: a request that cannot be
// read gets no reply, and a connection that stalls is dropped after 5 seconds per read.
//
// Threads: listen, stop and destruction belong to one owning thread. The dispatcher runs on
// connection threads, several at once, and may outlive the listener: each connection keeps it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "remote/HTTPRequest.h"
#include "remote/LockBox.h"

namespace vistrel::app {

// What a dispatcher leaves for the response; any box it does not write stands at its default.
// Shared, since a dispatcher's late work may still write after the response went out.
struct HTTPResponseBoxes {
    LockBox<std::string> body{R"({"ok":true})"};
    LockBox<int> status{200};
    LockBox<std::string> contentType{"application/json; charset=utf-8"};
};

class HTTPListener {
  public:
    // Returns when the response is to be written, whatever the boxes then hold.
    using Dispatcher =
        std::function<void(const HTTPRequest&, const std::shared_ptr<HTTPResponseBoxes>&)>;

    static constexpr size_t readBufferSize = 8192;
    static constexpr int backlog = 32;
    static constexpr int socketTimeoutSeconds = 5;

    explicit HTTPListener(Dispatcher dispatcher);
    // Stops; connections in flight finish on their own.
    ~HTTPListener();
    HTTPListener(const HTTPListener&) = delete;
    HTTPListener& operator=(const HTTPListener&) = delete;

    // Listens on the first free port of port, port+1, ... (maxAttempts of them when port is
    // not 0, never past 65535), on all interfaces or on 127.0.0.1 alone, and starts accepting.
    // False leaves nothing open. Call at most once per listener.
    bool listen(uint16_t port, int maxAttempts, bool loopbackOnly);
    // Shuts the socket down, which ends the accept loop, and closes it. Repeatable.
    void stop();

    int fd() const { return fd_; }           // -1 when not listening
    uint16_t port() const { return port_; }  // the port bound, 0 before

    // One accepted connection to its close: read, dispatch, respond. Public for callers that
    // accept on their own.
    static void serveConnection(int fd, const Dispatcher& dispatcher);

  private:
    int fd_ = -1;
    uint16_t port_ = 0;
    std::shared_ptr<const Dispatcher> dispatcher_;
    std::thread acceptor_;
};

}  // namespace vistrel::app
