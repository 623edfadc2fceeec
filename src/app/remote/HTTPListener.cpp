#include "remote/HTTPListener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>

namespace vistrel::app {

namespace {

void setIntOption(int fd, int level, int name, int value) {
    ::setsockopt(fd, level, name, &value, sizeof value);
}

void configureConnection(int fd) {
    // Replies are single small writes; waiting to coalesce them only adds latency.
    setIntOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
    const timeval timeout{HTTPListener::socketTimeoutSeconds, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
}

// Until everything is out or the peer is gone. MSG_NOSIGNAL: a closed peer must not raise
// SIGPIPE, which would end the process.
void sendAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 1) return;
        bytes.remove_prefix(size_t(sent));
    }
}

bool acceptFailureIsFinal(int error) {
    // Shutting the socket down gives EINVAL; anything else (a full descriptor table, an
    // aborted handshake) passes.
    return error == EINVAL || error == EBADF || error == ENOTSOCK;
}

void acceptLoop(int listenFD, std::shared_ptr<const HTTPListener::Dispatcher> dispatcher) {
    for (;;) {
        const int fd = ::accept4(listenFD, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            const int error = errno;
            if (acceptFailureIsFinal(error)) return;
            if (error != EINTR && error != ECONNABORTED)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            continue;
        }
        configureConnection(fd);
        try {
            std::thread([fd, dispatcher] {
                HTTPListener::serveConnection(fd, *dispatcher);
            }).detach();
        } catch (const std::system_error&) {
            ::close(fd);  // no thread to be had: the client sees the connection close
        }
    }
}

}  // namespace

HTTPListener::HTTPListener(Dispatcher dispatcher)
    : dispatcher_(std::make_shared<const Dispatcher>(std::move(dispatcher))) {}

HTTPListener::~HTTPListener() {
    stop();
}

bool HTTPListener::listen(uint16_t port, int maxAttempts, bool loopbackOnly) {
    const int attempts = (port != 0 && maxAttempts > 1) ? maxAttempts : 1;
    for (int i = 0; i < attempts; ++i) {
        const int candidate = port == 0 ? 0 : port + i;
        if (candidate >= 65536) return false;
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
        if (fd < 0) return false;
        setIntOption(fd, SOL_SOCKET, SO_REUSEADDR, 1);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(loopbackOnly ? INADDR_LOOPBACK : INADDR_ANY);
        address.sin_port = htons(uint16_t(candidate));
        if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(fd, backlog) != 0) {
            ::close(fd);
            continue;
        }
        sockaddr_in bound{};
        socklen_t length = sizeof bound;
        port_ = ::getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length) == 0
                    ? ntohs(bound.sin_port)
                    : uint16_t(candidate);
        fd_ = fd;
        acceptor_ = std::thread(acceptLoop, fd, dispatcher_);
        return true;
    }
    return false;
}

void HTTPListener::stop() {
    if (fd_ < 0) return;
    // Closing alone does not wake an accept blocked in another thread on Linux; shutdown does.
    // The descriptor is closed only once the loop is gone, so its number cannot be reused
    // under an accept that is about to start.
    ::shutdown(fd_, SHUT_RDWR);
    if (acceptor_.joinable()) acceptor_.join();
    ::close(fd_);
    fd_ = -1;
}

void HTTPListener::serveConnection(int fd, const Dispatcher& dispatcher) {
    char buffer[readBufferSize] = {};
    HTTPRequestReader reader;
    auto progress = HTTPRequestReader::Progress::needMore;
    while (progress == HTTPRequestReader::Progress::needMore) {
        const ssize_t received = ::recv(fd, buffer, sizeof buffer, 0);
        if (received < 0 && errno == EINTR) continue;
        // End of stream, an error or the 5 s time-out: a request with its header goes on with
        // the body it has.
        if (received < 1)
            progress = reader.peerStopped();
        else
            progress = reader.feed(std::string_view(buffer, size_t(received)));
    }
    const auto request = reader.request();
    if (!request) {
        ::close(fd);
        return;
    }

    const auto boxes = std::make_shared<HTTPResponseBoxes>();
    dispatcher(*request, boxes);
    const std::string body = request->method == "HEAD" ? std::string() : boxes->body.get();
    std::string response = responseHead(boxes->status.get(), boxes->contentType.get(), body.size());
    response += body;
    sendAll(fd, response);
    ::close(fd);
}

}  // namespace vistrel::app
