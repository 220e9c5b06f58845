#pragma once

#include "recognition/DocumentError.h"
#include "recognition/DocumentRequests.h"
#include "recognition/DocumentService.h"
#include "workerpool/FieldReader.h"
#include "workerpool/FieldWriter.h"
#include "workerpool/WorkerMessage.h"
#include "workerpool/WorkerService.h"

#include <exception>
#include <optional>
#include <utility>

/** Requests on documents and their answers as messages between the agent and its workers. */
namespace korvane {

template <typename Request>
WorkerMessage encodeRequest(const Request& request)
{
    WireWriter out;
    FieldWriter coder(out);
    fields(coder, request);
    return out.message(requests::codeOf<Request>());
}

/** Nothing when the message is no such request. */
template <typename Request>
std::optional<Request> decodeRequest(WireReader& in)
{
    Request request;
    FieldReader coder(in);
    fields(coder, request);
    if (!in.finished()) return std::nullopt;
    return request;
}

/** An answer follows whether there is one, or else an error does. */
template <typename Answer>
void encodeAnswer(WireWriter& out, const DocumentAnswer<Answer>& answer)
{
    FieldWriter coder(out);
    coder.flag(answer.has_value());
    if (answer) {
        fields(coder, *answer);
    } else {
        fields(coder, answer.error());
    }
}

inline DocumentError workerError(WorkerFailure failure)
{
    return {.kind = DocumentError::Kind::worker, .failure = failure};
}

/** What a worker, which may be hostile, has answered. */
template <typename Answer>
DocumentAnswer<Answer> decodeAnswer(WorkerAnswer message)
{
    using Kind = WorkerFailure::Kind;
    if (!message) return failure(workerError(message.error()));
    try {
        WireReader in(*std::move(message));
        FieldReader coder(in);
        bool hasSucceeded = false;
        coder.flag(hasSucceeded);
        Answer answer;
        DocumentError error;
        if (hasSucceeded) {
            fields(coder, answer);
        } else {
            fields(coder, error);
        }
        if (!in.finished()) return failure(workerError({Kind::invalidResponse}));
        if (!hasSucceeded) return failure(std::move(error));
        return answer;
    } catch (const std::exception&) { // std::bad_alloc for a large answer
        return failure(workerError({Kind::outOfMemory}));
    }
}

} // namespace korvane
