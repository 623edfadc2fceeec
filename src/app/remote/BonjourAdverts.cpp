// Avahi's threaded poll rather than an AvahiPoll over Qt's notifiers: the client's calls are
// blocking D-Bus round trips, which this keeps off the main thread, and Avahi's own loop needs
// no event translation of ours. Only the collision report crosses back, queued.
#include "remote/BonjourAdverts.h"

#include <avahi-client/client.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <avahi-common/thread-watch.h>
#include <avahi-common/timeval.h>

#include <QCoreApplication>
#include <QObject>
#include <QThread>
#include <cassert>
#include <utility>

namespace vistrel::app {

namespace {
// How long to wait before trying again when there is no system bus to talk to.
constexpr unsigned reconnectDelayMs = 2000;
}  // namespace

struct BonjourAdverts::Impl {
    std::function<void()> onNameCollision;
    QObject mainThread;  // queued calls to it run on the thread that made us

    AvahiThreadedPoll* poll = nullptr;
    const AvahiPoll* api = nullptr;
    // Owned by the poll thread once it runs; the poll lock guards them from outside.
    AvahiClient* client = nullptr;
    AvahiEntryGroup* group = nullptr;
    AvahiTimeout* connectTimer = nullptr;
    AvahiTimeout* applyTimer = nullptr;
    std::string name;
    uint16_t httpPort = 0;
    uint16_t oscPort = 0;

    void arm(AvahiTimeout* timer, unsigned delayMs) {
        timeval when;
        api->timeout_update(timer, avahi_elapse_time(&when, delayMs, 0));
    }

    void reportCollision() {
        if (onNameCollision)
            QMetaObject::invokeMethod(&mainThread, onNameCollision, Qt::QueuedConnection);
    }

    // A fresh client each time: Avahi's way back after the daemon went away.
    void connect() {
        if (client) avahi_client_free(client);  // frees the group with it
        group = nullptr;
        int error = 0;
        client = avahi_client_new(api, AVAHI_CLIENT_NO_FAIL, &Impl::clientChanged, this, &error);
        if (!client) {
            group = nullptr;  // one made while the client was being set up went with it
            arm(connectTimer, reconnectDelayMs);
        }
    }

    // Makes the daemon's group match name and ports; only while the daemon is running.
    void apply() {
        if (!client || avahi_client_get_state(client) != AVAHI_CLIENT_S_RUNNING) return;
        if (group) avahi_entry_group_reset(group);
        if (name.empty() || (httpPort == 0 && oscPort == 0)) return;
        if (!group && !(group = avahi_entry_group_new(client, &Impl::groupChanged, this))) return;
        const std::pair<const char*, uint16_t> services[] = {{httpServiceType, httpPort},
                                                             {oscServiceType, oscPort}};
        for (const auto& [type, port] : services) {
            if (port == 0) continue;
            const int result = avahi_entry_group_add_service(
                group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, AvahiPublishFlags(0), name.c_str(),
                type, nullptr, nullptr, port, nullptr);
            if (result < 0) {
                avahi_entry_group_reset(group);
                // Another client of the same daemon holds the name: refused here, not probed.
                if (result == AVAHI_ERR_COLLISION) reportCollision();
                return;
            }
        }
        avahi_entry_group_commit(group);
    }

    static void clientChanged(AvahiClient* c, AvahiClientState state, void* self) {
        auto& d = *static_cast<Impl*>(self);
        d.client = c;  // the first call comes from inside avahi_client_new
        switch (state) {
            case AVAHI_CLIENT_S_RUNNING:
                d.apply();
                break;
            case AVAHI_CLIENT_S_COLLISION:
            case AVAHI_CLIENT_S_REGISTERING:
                // The host name is not established; the adverts return with S_RUNNING.
                if (d.group) avahi_entry_group_reset(d.group);
                break;
            case AVAHI_CLIENT_FAILURE:
                // Freed from the timer, never inside the client's own callback.
                d.arm(d.connectTimer,
                      avahi_client_errno(c) == AVAHI_ERR_DISCONNECTED ? 0 : reconnectDelayMs);
                break;
            case AVAHI_CLIENT_CONNECTING:
                break;
        }
    }

    static void groupChanged(AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
        if (state == AVAHI_ENTRY_GROUP_COLLISION) static_cast<Impl*>(self)->reportCollision();
    }
};

BonjourAdverts::BonjourAdverts(std::function<void()> onNameCollision)
    : impl_(std::make_unique<Impl>()) {
    assert(QCoreApplication::instance() &&
           QThread::currentThread() == QCoreApplication::instance()->thread() &&
           "collisions are reported on the main thread");
    impl_->onNameCollision = std::move(onNameCollision);
    impl_->poll = avahi_threaded_poll_new();
    if (!impl_->poll) return;  // no adverts, as with no daemon
    impl_->api = avahi_threaded_poll_get(impl_->poll);
    impl_->connectTimer = impl_->api->timeout_new(
        impl_->api, nullptr, [](AvahiTimeout*, void* self) { static_cast<Impl*>(self)->connect(); },
        impl_.get());
    impl_->applyTimer = impl_->api->timeout_new(
        impl_->api, nullptr, [](AvahiTimeout*, void* self) { static_cast<Impl*>(self)->apply(); },
        impl_.get());
    // Even the first connection is made on the poll thread: it talks to D-Bus.
    impl_->arm(impl_->connectTimer, 0);
    if (avahi_threaded_poll_start(impl_->poll) < 0) {
        avahi_threaded_poll_free(impl_->poll);
        impl_->poll = nullptr;
    }
}

BonjourAdverts::~BonjourAdverts() {
    if (!impl_->poll) return;
    avahi_threaded_poll_stop(impl_->poll);
    if (impl_->client)
        avahi_client_free(impl_->client);  // the daemon drops the group with its client
    avahi_threaded_poll_free(impl_->poll);
}

void BonjourAdverts::publish(const std::string& name, uint16_t httpPort, uint16_t oscPort) {
    if (!impl_->poll) return;
    avahi_threaded_poll_lock(impl_->poll);
    impl_->name = name;
    impl_->httpPort = httpPort;
    impl_->oscPort = oscPort;
    impl_->arm(impl_->applyTimer, 0);
    avahi_threaded_poll_unlock(impl_->poll);
}

void BonjourAdverts::withdraw() {
    publish({}, 0, 0);
}

}  // namespace vistrel::app
