#pragma once

#include "platform/base/SystemError.h"
#include "platform/qpdf/SearchablePDFWriter.h"

#include <cstdint>
#include <exception>
#include <qpdf/Pipeline.hh>
#include <vector>

namespace korvane {

/** The sink took no more. Passes through QPDF on its way out of its writer. */
class SinkFailure : public std::exception {
public:
    explicit SinkFailure(SystemError error) : error_(error) {}
    const SystemError& error() const { return error_; }

private:
    SystemError error_;
};

/** The end of QPDF's pipelines: gathers its many small writes. Throws SinkFailure. */
class SinkPipeline : public Pipeline {
public:
    explicit SinkPipeline(const PDFSink& sink);

    void write(const unsigned char* bytes, std::size_t count) override;
    void finish() override;

private:
    const PDFSink& sink_;
    std::vector<std::uint8_t> gathered_;
};

} // namespace korvane
