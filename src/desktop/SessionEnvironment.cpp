#include "desktop/SessionEnvironment.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace korvane {

namespace {

std::string_view nameOf(std::string_view variable)
{
    return variable.substr(0, variable.find('='));
}

bool isSet(const SessionEnvironment::Variables& variables, std::string_view name)
{
    return std::ranges::any_of(variables, [name](std::string_view variable) {
        return nameOf(variable) == name && variable.size() > name.size() + 1;
    });
}

} // namespace

SessionEnvironment::Variables processEnvironment()
{
    SessionEnvironment::Variables variables;
    for (char** variable = environ; *variable != nullptr; ++variable)
        variables.emplace_back(*variable);
    return variables;
}

bool hasDisplay(const SessionEnvironment::Variables& variables)
{
    return isSet(variables, "WAYLAND_DISPLAY") || isSet(variables, "DISPLAY");
}

void SessionEnvironment::read(Handler handler)
{
    if (hasDisplay(own_)) return handler(own_);
    bus_.call({.destination = "org.freedesktop.systemd1",
               .path = "/org/freedesktop/systemd1",
               .interface = "org.freedesktop.DBus.Properties",
               .member = "Get",
               .arguments = {std::string("org.freedesktop.systemd1.Manager"),
                             std::string("Environment")}},
              lifetime_.guard([this, handler = std::move(handler)](const BusReply& reply) {
                  const auto* others = reply ? busArgument<Variables>(*reply, 0) : nullptr;
                  handler(others != nullptr ? with(*others) : own_);
              }));
}

SessionEnvironment::Variables SessionEnvironment::with(const Variables& others) const
{
    Variables variables = own_;
    for (const std::string& variable : others) {
        if (isSet(own_, nameOf(variable))) continue;
        // Of two with one name programs see the first, which may be empty.
        std::erase_if(variables,
                      [&](const std::string& empty) { return nameOf(empty) == nameOf(variable); });
        variables.push_back(variable);
    }
    return variables;
}

} // namespace korvane
