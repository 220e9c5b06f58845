#pragma once

#include "base/SystemError.h"
#include "lib/qpdf/QPDFHeaders.h"
#include "lib/qpdf/SearchablePDFWriter.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace korvane {

/**
 * The end of QPDF's pipelines: gathers its many small writes. QPDF also writes from destructors,
 * so nothing is thrown: once the sink has failed the rest is dropped.
 */
class SinkPipeline : public Pipeline {
public:
    explicit SinkPipeline(const PDFSink& sink);

    void write(const unsigned char* bytes, std::size_t count) override;
    /** QPDF may call it more than once; what was gathered waits for `close`. */
    void finish() override {}

    /** Passes on what was gathered, and tells whether the sink took everything. */
    Result<void, SystemError> close();

private:
    void send();

    const PDFSink& sink_;
    std::vector<std::uint8_t> gathered_;
    std::optional<SystemError> error_;
};

} // namespace korvane
