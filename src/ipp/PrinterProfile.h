#pragma once

namespace korvane {

/** As which printer this one answers. */
enum class PrinterProfile {
    basic,         ///< the same few answers for every client, whatever becomes of its jobs
    ippEverywhere, ///< what IPP Everywhere 1.1 asks of a printer (PWG 5100.14)
};

} // namespace korvane
