// A plain UDP socket on 127.0.0.1, for holding ports, sending raw bytes and collecting the OSC
// messages that arrive.
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "osc/OSCCodec.h"

namespace vistrel::test {

struct LoopbackSocket {
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    uint16_t port = 0;  // 0 when the wanted one could not be bound

    // Any free port for 0.
    explicit LoopbackSocket(uint16_t wanted = 0) {
        sockaddr_in a{AF_INET, htons(wanted), {htonl(INADDR_LOOPBACK)}, {}};
        socklen_t len = sizeof a;
        if (::bind(fd, reinterpret_cast<sockaddr*>(&a), len) == 0 &&
            ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len) == 0)
            port = ntohs(a.sin_port);
    }
    LoopbackSocket(LoopbackSocket&& o) noexcept : fd(std::exchange(o.fd, -1)), port(o.port) {}
    ~LoopbackSocket() {
        if (fd >= 0) ::close(fd);
    }
    bool bound() const { return port != 0; }
    void sendTo(uint16_t to, const std::vector<uint8_t>& bytes) const {
        sockaddr_in a{AF_INET, htons(to), {htonl(INADDR_LOOPBACK)}, {}};
        ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&a), sizeof a);
    }
    // Every message that arrives within `waitMs` of the last one.
    std::vector<OSCCodec::Message> drain(int waitMs = 200) const {
        std::vector<OSCCodec::Message> messages;
        pollfd p{fd, POLLIN, 0};
        uint8_t buffer[2048];
        while (::poll(&p, 1, waitMs) == 1) {
            ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
            for (auto& m : OSCCodec::decode({buffer, size_t(std::max<ssize_t>(n, 0))}))
                messages.push_back(m);
        }
        return messages;
    }
};

}  // namespace vistrel::test
