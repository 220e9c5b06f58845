// The answers on documents, as a compromised worker may write them, and the requests. What is
// accepted and written again is the same bytes.

#include "recognition/RequestCoding.h"

#include <fcntl.h>

#include <array>
#include <cstdlib>
#include <tuple>
#include <utility>

using namespace korvane;

namespace {

template <typename Request>
void checkRequest(const Data& payload)
{
    static const SharedDescriptor file = share(FileDescriptor(::open("/dev/null", O_RDONLY)));
    WireReader in({.payload = payload, .descriptors = {file, file}});
    const auto request = decodeRequest<Request>(in);
    if (request && encodeRequest(*request).payload != payload) std::abort();
}

template <typename Request>
void checkAnswer(const Data& payload)
{
    const auto answer = decodeAnswer<typename Request::Answer>(WorkerMessage{.payload = payload});
    if (!answer && answer.error().kind == DocumentError::Kind::worker) return;
    WireWriter out;
    encodeAnswer(out, answer);
    if (out.message().payload != payload) std::abort();
}

using Check = void (*)(const Data&);

/** Those of the requests in their order, and behind them those of their answers. */
template <typename... Requests>
constexpr auto checksOf(const std::tuple<Requests...>* /*all*/)
{
    return std::array<Check, 2 * sizeof...(Requests)>{&checkRequest<Requests>...,
                                                      &checkAnswer<Requests>...};
}

constexpr auto checks = checksOf(static_cast<const requests::All*>(nullptr));

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size == 0) return 0;
    checks[bytes[0] % checks.size()](Data::copying(std::span(bytes + 1, size - 1)));
    return 0;
}
