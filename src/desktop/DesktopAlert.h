#pragma once

#include "base/Lifetime.h"
#include "desktop/Alert.h"
#include "desktop/NotificationCenter.h"
#include "desktop/SessionEnvironment.h"
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
    /** All outlive the alert. The environment says, for each warning, where the display is. */
    DesktopAlert(SerialQueue& queue, NotificationCenter& notifications,
                 SessionEnvironment& environment)
        : queue_(queue), notifications_(notifications), environment_(environment)
    {
    }

    void warn(const std::string& message, const std::string& information) override;

private:
    struct Warning {
        std::string message;
        std::string information;
    };

    void showFirst();
    bool openDialog(const SessionEnvironment::Variables& environment);
    void firstShown(bool wasSeen);
    void notify(const Warning& warning);

    SerialQueue& queue_;
    NotificationCenter& notifications_;
    SessionEnvironment& environment_;
    /** That of the first warning. */
    std::unique_ptr<ChildProcess> dialog_;
    /** The first is being shown. */
    std::deque<Warning> warnings_;
    Lifetime lifetime_;
};

} // namespace korvane
