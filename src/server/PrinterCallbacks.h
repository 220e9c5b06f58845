#pragma once

#include "ipp/PrinterDescriptor.h"
#include "ipp/PrinterStatus.h"
#include "job/PrintJob.h"
#include "server/HTTPMessage.h"
#include "spool/JobTicket.h"
#include "spool/SpooledJob.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace korvane {

/** What a server asks and tells the printer that it is the network face of. */
struct PrinterCallbacks {
    /** The printer as clients see it. Called on the server's queue. */
    std::function<PrinterDescriptor()> descriptor;
    /** What it takes to finish a job of that name, which is about to be accepted. Called in the
     *  background, several at a time. */
    std::function<JobTicket(const std::string& jobName)> ticket;
    /** Takes a job that is in the spool, and tells in the `PrintJob` how it gets on. Called on the
     *  server's queue, once a job. */
    std::function<void(std::shared_ptr<SpooledJob>, std::shared_ptr<PrintJob>)> jobAccepted;
    /** Told where the bytes of a document are that could not be read as one. Called on the server's
     *  queue. */
    std::function<void(const std::filesystem::path&)> documentRefused;
    /** Shows the user which printer this is, with what a client wants to say of it; may be empty.
     *  Called on the server's queue. */
    std::function<void(const std::string& message)> identify;
    /** What the printer's web server shows a browser at a path, such as "/", if there is something;
     *  may be empty. Called on the server's queue. */
    std::function<std::optional<HTTPResponse>(const std::string& path, const PrinterStatus&)> page;
};

} // namespace korvane
