#include "net/HostNames.h"

#include "support/ManualQueues.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace korvane {
namespace {

TEST(HostNames, FollowsTheResponderUntilTheSystemHasAnotherName)
{
    std::optional<std::string> system = "desk";
    HostNames names([&system] { return system; });
    ManualQueues queues;
    int changes = 0;
    auto watch = names.watch(queues.main(), [&changes] { ++changes; });
    const auto expect = [&](const char* name, int count) {
        queues.run();
        EXPECT_EQ(names.current(), name);
        EXPECT_EQ(changes, count) << name;
    };
    names.setAnswering(HostNames::Answering{"desk", "desk"});
    expect("desk", 0);
    names.setAnswering(HostNames::Answering{"desk-2", "desk"});
    expect("desk-2", 1);
    system = "attic"; // no event: whoever asks is told all the same
    expect("attic", 1);
    names.setAnswering(HostNames::Answering{"attic", "attic"});
    expect("attic", 2);

    names.setAnswering(HostNames::Answering{"chosen", std::nullopt});
    system = "cellar";
    expect("chosen", 3);
    names.setAnswering(std::nullopt);
    expect("cellar", 4);
    watch.reset();
    names.setAnswering(HostNames::Answering{"desk", std::nullopt});
    expect("desk", 4);
}

} // namespace
} // namespace korvane
