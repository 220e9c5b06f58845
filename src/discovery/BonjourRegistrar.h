#pragma once

#include "base/Log.h"
#include "event/Backoff.h"
#include "event/Queue.h"
#include "lib/avahi/ServiceDirectory.h"

#include <memory>
#include <optional>
#include <string>

namespace korvane {

/**
 * Keeps one service registered with DNS Service Discovery: remembers what should be registered, and
 * tries again, with growing delays, whenever that cannot be done or is lost.
 *
 * All work and all results happen on the registrar's own queue, "bonjour.registrar".
 */
class BonjourRegistrar {
public:
    /** Without a directory nothing is advertised, and the log says so. */
    BonjourRegistrar(Queues& queues, ServiceDirectory* directory, Log& log);
    ~BonjourRegistrar();
    BonjourRegistrar(const BonjourRegistrar&) = delete;
    BonjourRegistrar& operator=(const BonjourRegistrar&) = delete;

    /** Told on the registrar's queue the name under which the service has been registered, and the
     *  empty name once it is not any more. Set before `registerService`. */
    std::function<void(const std::string& name)> onNameChange;

    /** Registers the service in place of the one registered before. Any thread; returns at once. */
    void registerService(Registration registration);

    /** Withdraws the service, and returns when that is done. Any thread but a task that the
     *  registrar's queue waits for. */
    void stop();

private:
    void registerCurrent();
    void handleResult(int error, const std::optional<std::string>& name);
    void scheduleRetry();
    void withdraw();
    void setName(const std::string& name);

    ServiceDirectory* directory_;
    Log& log_;
    std::shared_ptr<SerialQueue> queue_;
    std::unique_ptr<ServiceRegistration> serviceRef_;
    std::optional<Registration> current_;
    std::unique_ptr<DelayedTask> retryWork_;
    Backoff retryDelay_;
    bool saidUnavailable_ = false;
    /** As `onNameChange` was told. */
    std::string name_;
};

} // namespace korvane
