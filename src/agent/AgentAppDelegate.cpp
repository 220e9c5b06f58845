#include "agent/AgentAppDelegate.h"

#include <fmt/format.h>
#include <unistd.h>

#include <utility>

namespace korvane {

AgentAppDelegate::AgentAppDelegate(std::string build, const SettingsStore& store,
                                   std::optional<std::string> hostName,
                                   const ServerEnvironment& environment, const JobEnvironment& jobs,
                                   DesktopEnvironment desktop, SettingsObserver::Subscribe hangUps)
    : build_(std::move(build)), store_(store), hostName_(std::move(hostName)),
      environment_(environment), jobs_(jobs), desktop_(std::move(desktop)), log_(environment.log),
      observer_(std::move(hangUps), desktop_.bus)
{
}

void AgentAppDelegate::applicationDidFinishLaunching()
{
    log_.note(fmt::format("KorvaneAgent: starting (pid={}, build {})", ::getpid(), build_));
    store_.writeVersionStamp(build_, log_);
    desktop_.notifications->configure();
    auto service =
        std::make_shared<PrinterService>(store_, hostName_, environment_, jobs_, desktop_);
    service->reload();
    desktop_.notifications->onAddToNotes = [weak =
                                                std::weak_ptr(service)](const CompletedJob& job) {
        if (const auto printer = weak.lock()) printer->addToNotes(job);
    };
    service_ = std::move(service);
    observer_.start([weak = weak_from_this(), &main = environment_.queues.main()] {
        main.async([weak] {
            if (const auto self = weak.lock()) self->settingsChanged();
        });
    });
    desktop_.serviceManager.ready();
}

void AgentAppDelegate::settingsChanged()
{
    log_.note("KorvaneAgent: settings changed, reloading");
    if (service_) service_->reload();
}

void AgentAppDelegate::applicationWillTerminate()
{
    desktop_.serviceManager.stopping();
    if (service_) service_->stop();
}

} // namespace korvane
