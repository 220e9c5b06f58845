#include "agent/AgentAppDelegate.h"

#include <fmt/format.h>
#include <unistd.h>

#include <utility>

namespace korvane {

AgentAppDelegate::AgentAppDelegate(std::string build, const SettingsStore& store,
                                   std::optional<std::string> hostName,
                                   const ServerEnvironment& environment, const JobEnvironment& jobs,
                                   SettingsObserver::Subscribe settingsChanges)
    : build_(std::move(build)), store_(store), hostName_(std::move(hostName)),
      environment_(environment), jobs_(jobs), log_(environment.log),
      observer_(std::move(settingsChanges))
{
}

void AgentAppDelegate::applicationDidFinishLaunching()
{
    log_.note(fmt::format("KorvaneAgent: starting (pid={}, build {})", ::getpid(), build_));
    store_.writeVersionStamp(build_, log_);
    service_ = std::make_shared<PrinterService>(store_, hostName_, environment_, jobs_);
    service_->reload();
    observer_.start([weak = weak_from_this(), &main = environment_.queues.main()] {
        main.async([weak] {
            if (const auto self = weak.lock()) self->settingsChanged();
        });
    });
}

void AgentAppDelegate::settingsChanged()
{
    log_.note("KorvaneAgent: settings changed, reloading");
    if (service_) service_->reload();
}

void AgentAppDelegate::applicationWillTerminate()
{
    if (service_) service_->stop();
}

} // namespace korvane
