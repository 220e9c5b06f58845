#include "agent/AgentAppDelegate.h"

#include <fmt/format.h>
#include <unistd.h>

#include <utility>

namespace korvane {

AgentAppDelegate::AgentAppDelegate(std::string build, AgentEnvironment environment,
                                   SettingsObserver::Subscribe hangUps)
    : build_(std::move(build)), environment_(std::move(environment)), log_(environment_.server.log),
      observer_(std::move(hangUps), environment_.desktop.bus)
{
}

void AgentAppDelegate::applicationDidFinishLaunching()
{
    log_.note(fmt::format("KorvaneAgent: starting (pid={}, build {})", ::getpid(), build_));
    environment_.store.writeVersionStamp(build_, log_);
    environment_.desktop.notifications->configure();
    auto service = std::make_shared<PrinterService>(environment_);
    service->start();
    environment_.desktop.notifications->onAddToNotes =
        [weak = std::weak_ptr(service)](const CompletedJob& job) {
            if (const auto printer = weak.lock()) printer->addToNotes(job);
        };
    service_ = std::move(service);
    object_ = std::make_unique<AgentObject>(environment_.desktop.bus,
                                            environment_.server.queues.main(), service_->status());
    const auto onMain = [weak = weak_from_this(), &main = environment_.server.queues.main()](
                            void (AgentAppDelegate::*handler)()) -> Task {
        return [weak, &main, handler] {
            main.async([weak, handler] {
                if (const auto self = weak.lock()) (*self.*handler)();
            });
        };
    };
    observer_.start(onMain(&AgentAppDelegate::settingsChanged),
                    onMain(&AgentAppDelegate::settingsMayHaveChanged));
    environment_.desktop.serviceManager.ready();
}

void AgentAppDelegate::settingsChanged()
{
    log_.note("KorvaneAgent: settings changed, reloading");
    if (service_) service_->reload();
}

void AgentAppDelegate::settingsMayHaveChanged()
{
    if (service_ && service_->isOutdated()) settingsChanged();
}

void AgentAppDelegate::applicationWillTerminate()
{
    environment_.desktop.serviceManager.stopping();
    if (service_) service_->stop();
}

} // namespace korvane
