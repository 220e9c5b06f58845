#include "desktop/DesktopOpener.h"

#include <fmt/format.h>

#include <utility>

namespace korvane {

void DesktopOpener::open(const std::filesystem::path& target, const std::string& activationToken,
                         OpeningHandler handler)
{
    environment_.read(lifetime_.guard([this, target, activationToken, handler = std::move(handler)](
                                          SessionEnvironment::Variables variables) {
        if (!activationToken.empty()) {
            for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
                variables.push_back(fmt::format("{}={}", name, activationToken));
        }
        start({.arguments = {"xdg-open", target.string()},
               .environment = std::move(variables),
               .hasOwnSession = true},
              handler);
    }));
}

void DesktopOpener::start(const ProcessStart& program, const OpeningHandler& handler)
{
    const auto place = running_.emplace(running_.end());
    auto opener = ChildProcess::start(program, queue_, [this, place, handler](int status) {
        running_.erase(place);
        if (status == 0) return handler({});
        handler(failure(fmt::format("xdg-open failed with status {}", status)));
    });
    if (opener) {
        *place = std::move(*opener);
    } else {
        running_.erase(place);
        handler(failure("xdg-open can't be started: " + opener.error().description()));
    }
}

} // namespace korvane
