#include "osc/OSCUDPServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace vistrel {

namespace {

int openUDPSocket() {
    return ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
}

}  // namespace

OSCUDPServer::OSCUDPServer(uint16_t port, Handler handler)
    : port_(port), handler_(std::move(handler)) {}

OSCUDPServer::~OSCUDPServer() {
    stop();
}

uint16_t OSCUDPServer::port() const {
    std::lock_guard guard(lock_);
    return port_;
}

bool OSCUDPServer::isRunning() const {
    std::lock_guard guard(lock_);
    return isRunning_;
}

bool OSCUDPServer::start(int maxPortAttempts) {
    uint16_t wanted;
    {
        std::lock_guard guard(lock_);
        if (isRunning_) return true;
        wanted = port_;
    }
    // A loop that ended on its own (a zero-length datagram) or a stop from the handler leaves
    // the old thread to collect before a new one starts.
    joinReceiver();

    const int attempts = (wanted != 0 && maxPortAttempts > 1) ? maxPortAttempts : 1;
    for (int i = 0; i < attempts; ++i) {
        const int candidate = wanted == 0 ? 0 : wanted + i;
        if (candidate >= 65536) return false;
        const int fd = openUDPSocket();
        if (fd < 0) return false;
        // No SO_REUSEADDR: on Linux it lets two UDP sockets share a port, so a second instance
        // would bind the busy port instead of falling back to the next one.
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_ANY);
        address.sin_port = htons(uint16_t(candidate));
        if (::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            ::close(fd);
            continue;
        }
        sockaddr_in bound{};
        socklen_t length = sizeof bound;
        uint16_t boundPort = uint16_t(candidate);
        if (::getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length) == 0)
            boundPort = ntohs(bound.sin_port);
        {
            std::lock_guard guard(lock_);
            socketFD_ = fd;
            port_ = boundPort;
            isRunning_ = true;
        }
        receiver_ = std::thread([this, fd] { receiveLoop(fd); });
        return true;
    }
    return false;
}

void OSCUDPServer::stop() {
    int fd;
    {
        std::lock_guard guard(lock_);
        isRunning_ = false;
        fd = socketFD_;
        socketFD_ = -1;
    }
    if (fd >= 0) {
        // Closing alone does not wake a recv blocked in another thread on Linux; shutdown does.
        // The descriptor is closed only once the loop is gone, so its number cannot be reused
        // under a recv that is about to start.
        ::shutdown(fd, SHUT_RDWR);
        joinReceiver();
        ::close(fd);
    } else {
        joinReceiver();
    }
}

void OSCUDPServer::joinReceiver() {
    // From the handler itself the loop ends on its own at its next check of isRunning_.
    if (receiver_.joinable() && receiver_.get_id() != std::this_thread::get_id()) receiver_.join();
}

void OSCUDPServer::receiveLoop(int fd) {
    std::vector<uint8_t> buffer(receiveBufferSize);
    for (;;) {
        {
            std::lock_guard guard(lock_);
            if (!isRunning_) return;
        }
        const ssize_t received = ::recv(fd, buffer.data(), buffer.size(), 0);
        if (received >= 1) {
            const auto messages =
                OSCCodec::decode(std::span<const uint8_t>(buffer.data(), size_t(received)));
            if (handler_)
                for (const auto& message : messages) handler_(message);
            continue;
        }
        // A zero-length datagram falls here too and ends the loop, leaving the socket open.
        if (errno == EINTR) continue;
        return;
    }
}

void OSCUDPServer::send(const OSCCodec::Message& message, const std::string& host, uint16_t port) {
    const std::vector<uint8_t> data = OSCCodec::encode(message);
    const int fd = openUDPSocket();
    if (fd < 0) return;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (::inet_pton(AF_INET, host.c_str(), &address.sin_addr) == 1)
        ::sendto(fd, data.data(), data.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                 sizeof address);
    ::close(fd);
}

}  // namespace vistrel
