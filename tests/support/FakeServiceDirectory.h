#pragma once

#include "lib/avahi/ServiceDirectory.h"

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/** A DNS-SD that remembers what was asked of it and answers as the test says. */
class FakeServiceDirectory final : public ServiceDirectory {
public:
    Result<std::unique_ptr<ServiceRegistration>, int>
    registerService(const Registration& registration, SerialQueue& /*queue*/,
                    ResultHandler handler) override
    {
        asked.push_back(registration);
        if (!refusals.empty()) {
            const int refusal = refusals.front();
            refusals.pop_front();
            return failure(refusal);
        }
        answer = std::move(handler);
        return std::make_unique<Live>(live, registration.name);
    }

    /** Error codes for the next calls. */
    std::deque<int> refusals;
    /** Every registration asked for. */
    std::vector<Registration> asked;
    /** The names registered at this moment. */
    std::vector<std::string> live;
    /** Gives the latest registration its result. */
    ResultHandler answer;

private:
    struct Live final : ServiceRegistration {
        Live(std::vector<std::string>& names, std::string registered)
            : live(names), name(std::move(registered))
        {
            live.push_back(name);
        }
        ~Live() override { std::erase(live, name); }
        Live(const Live&) = delete;
        Live& operator=(const Live&) = delete;

        std::vector<std::string>& live;
        std::string name;
    };
};

} // namespace korvane
