#include "discovery/BonjourRegistrar.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

namespace {

std::string describeInterface(std::uint32_t index)
{
    return index == 0 ? "all interfaces" : fmt::format("interface index {}", index);
}

} // namespace

BonjourRegistrar::BonjourRegistrar(Queues& queues, ServiceDirectory* directory, Log& log)
    : directory_(directory), log_(log), queue_(queues.makeSerial("bonjour.registrar"))
{
}

BonjourRegistrar::~BonjourRegistrar()
{
    stop();
}

void BonjourRegistrar::registerService(Registration registration)
{
    // The destructor waits for this queue, so what is queued never outlives the registrar.
    queue_->async([this, registration = std::move(registration)] {
        current_ = registration;
        retryDelay_.reset();
        registerCurrent();
    });
}

void BonjourRegistrar::stop()
{
    queue_->sync([this] {
        current_.reset();
        withdraw();
    });
}

void BonjourRegistrar::withdraw()
{
    retryWork_.reset();
    serviceRef_.reset();
    setName({});
}

void BonjourRegistrar::setName(const std::string& name)
{
    if (name == std::exchange(name_, name)) return;
    if (onNameChange) onNameChange(name);
}

void BonjourRegistrar::registerCurrent()
{
    withdraw();
    if (!current_) return;
    if (directory_ == nullptr) {
        if (!std::exchange(saidUnavailable_, true)) {
            log_.error("BonjourRegistrar: DNS-SD is not available, the printer is not advertised");
        }
        return;
    }
    auto registered = directory_->registerService(
        *current_, *queue_,
        [this](int error, const std::optional<std::string>& name) { handleResult(error, name); });
    if (!registered && registered.error() == ServiceDirectory::invalidName) {
        log_.error(fmt::format("BonjourRegistrar: DNSServiceRegister failed: {}; nothing of the "
                               "printer's name can be advertised",
                               registered.error()));
        return;
    }
    if (!registered) {
        log_.error(fmt::format("BonjourRegistrar: DNSServiceRegister failed: {}; retrying in {}s",
                               registered.error(), retryDelay_.next().count()));
        scheduleRetry();
        return;
    }
    serviceRef_ = std::move(*registered);
    log_.note(fmt::format("BonjourRegistrar: registering \"{}\" ({}) on port {}, {}",
                          current_->name, current_->type, current_->port,
                          describeInterface(current_->interfaceIndex)));
}

void BonjourRegistrar::handleResult(int error, const std::optional<std::string>& name)
{
    if (error == 0) {
        retryDelay_.reset();
        log_.note(
            fmt::format("BonjourRegistrar: registered as \"{}\"", name.value_or("<unknown>")));
        setName(name.value_or(current_ ? current_->name : ""));
        return;
    }
    log_.error(fmt::format("BonjourRegistrar: registration lost (error {}); re-registering in {}s",
                           error, retryDelay_.next().count()));
    scheduleRetry();
}

void BonjourRegistrar::scheduleRetry()
{
    withdraw();
    if (!current_) return;
    retryWork_ = queue_->after(retryDelay_.advance(), [this] { registerCurrent(); });
}

} // namespace korvane
