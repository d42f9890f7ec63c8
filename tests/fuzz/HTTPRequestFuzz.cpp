#include "agent/HTTPRequestReader.h"

#include <cstdlib>

using namespace kelmo;

namespace {

HTTPLimits smallLimits()
{
    HTTPLimits limits;
    limits.headBytes = 512;
    limits.bodyBytes = 4096;
    return limits;
}

void require(bool condition)
{
    if (!condition)
        std::abort();
}

// The pieces are as long as the first bytes say, over and over.
HTTPRequestReader inPieces(QByteArrayView bytes)
{
    HTTPRequestReader reader(smallLimits());
    qsizetype at = 0;
    for (qsizetype i = 0; at < bytes.size(); ++i) {
        const qsizetype length = std::min<qsizetype>(1 + uchar(bytes[i % 7 % bytes.size()]) % 40, bytes.size() - at);
        reader.add(bytes.sliced(at, length));
        at += length;
    }
    return reader;
}

} // namespace

// However a request is cut into pieces, what comes out is the same, and it keeps to the limits.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArrayView bytes(data, qsizetype(size));
    HTTPRequestReader whole(smallLimits());
    whole.add(bytes);
    HTTPRequestReader pieces = inPieces(bytes);
    require(whole.state() == pieces.state());
    if (whole.state() != HTTPRequestReader::State::Complete)
        return 0;
    const HTTPRequest request = whole.takeRequest();
    require(request == pieces.takeRequest());
    require(!request.method.isEmpty() && !request.path.isEmpty());
    require(request.body.size() <= smallLimits().bodyBytes);
    require(request.hosts.size() + request.origins.size() <= 512);
    (void)request.isLocal();
    return 0;
}
