#pragma once

#include "desktop/Alert.h"
#include "desktop/NotificationCenter.h"
#include "event/ChildProcess.h"
#include "event/Queue.h"

#include <deque>
#include <memory>
#include <string>

namespace korvane {

/**
 * A dialog by zenity where there is a display, or else a critical notification. One warning is up
 * at a time and three wait behind it; further ones are dropped. Used on the queue of the
 * notification center.
 */
class DesktopAlert final : public Alert {
public:
    /** Both outlive the alert. `hasDisplay` says whether a dialog can be tried. */
    DesktopAlert(SerialQueue& queue, NotificationCenter& notifications, bool hasDisplay)
        : queue_(queue), notifications_(notifications), hasDisplay_(hasDisplay)
    {
    }

    void warn(const std::string& message, const std::string& information) override;

private:
    struct Warning {
        std::string message;
        std::string information;
    };

    void show(const Warning& warning);
    bool openDialog(const Warning& warning);
    void dialogEnded(const Warning& warning, bool wasSeen);
    void notify(const Warning& warning);

    SerialQueue& queue_;
    NotificationCenter& notifications_;
    const bool hasDisplay_;
    std::unique_ptr<ChildProcess> dialog_;
    std::deque<Warning> waiting_;
};

/** Whether the environment names a display. */
bool hasDisplay();

} // namespace korvane
