#pragma once

#include "spool/Spool.h"
#include "support/ManualClock.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace korvane {

/** A state folder of the test's own with a spool in it. */
class TestSpool {
public:
    TestSpool() { restart(); }

    /** Another agent, after the end of the one before; the disk has so much room for documents. */
    void restart(std::uint64_t room = UINT64_MAX)
    {
        spool_.reset();
        spool_.emplace(state.path(), Spool::Limits{.reserve = 0},
                       [room](const std::filesystem::path&) { return room; });
    }

    Spool& operator*() { return *spool_; }
    Spool* operator->() { return &*spool_; }

    DocumentFile file(std::string_view text) const
    {
        auto made = spool_->makeFile();
        EXPECT_EQ(::write(made->get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
        return {.file = share(*std::move(made)), .length = text.size()};
    }

    /** A job that is accepted now, to be saved under its name. */
    std::shared_ptr<SpooledJob> accept(const std::string& name,
                                       const std::filesystem::path& saveDirectory,
                                       std::string_view document = "%PDF received")
    {
        return *spool_->accept({.jobName = name,
                                .accepted = ManualClock().now(),
                                .saveDirectory = saveDirectory,
                                .fileName = name + ".pdf"},
                               file(document));
    }

    /** How many jobs the next agent would find. */
    std::ptrdiff_t jobCount() const
    {
        return std::distance(std::filesystem::directory_iterator(state.path() / "spool"), {});
    }

    const TemporaryFolder state;

private:
    std::optional<Spool> spool_;
};

} // namespace korvane
