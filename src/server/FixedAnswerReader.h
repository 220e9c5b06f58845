#pragma once

#include "server/RequestReader.h"

#include <utility>

namespace korvane {

/** Drops the body of a request whose answer does not depend on it. */
class FixedAnswerReader final : public RequestReader {
public:
    FixedAnswerReader(HTTPResponse response, RequestClient client)
        : response_(std::move(response)), client_(std::move(client))
    {
    }

    void append(std::span<const std::uint8_t> /*bytes*/) override {}
    void finish() override { client_.answer(response_); }

private:
    const HTTPResponse response_;
    const RequestClient client_;
};

} // namespace korvane
