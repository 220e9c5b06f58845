#pragma once

#include "base/Result.h"
#include "config/SettingsStore.h"
#include "desktop/Alert.h"
#include "desktop/NotificationManager.h"
#include "document/JobPipeline.h"
#include "lib/systemd/ServiceManager.h"
#include "lib/systemd/SessionBus.h"
#include "net/HostNames.h"
#include "server/IPPServer.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace korvane {

/** Makes a note with this title and text in a folder of notes, with the PDF attached, and gives the
 *  note's id; or says why not. It takes its time, and is called on a background thread. */
using AddNote = std::function<Result<std::string, std::string>(
    const std::string& title, const std::string& text, const std::string& folder,
    const std::filesystem::path& pdf)>;

/** The desktop session that the agent runs in. What is referred to outlives the agent. */
struct DesktopEnvironment {
    SessionBus& bus;
    std::shared_ptr<NotificationManager> notifications;
    Alert& alert;
    const ServiceManager& serviceManager;
    AddNote addNote;
};

/** All that the agent stands on. What is referred to outlives it. */
struct AgentEnvironment {
    const SettingsStore& store;
    HostNames& hostNames;
    ServerEnvironment server;
    JobEnvironment jobs;
    DesktopEnvironment desktop;
};

} // namespace korvane
