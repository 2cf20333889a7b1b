#include "DataCompression.h"

#include <QtGlobal>

#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstdint>

QByteArray compressedData(const QByteArray& data)
{
    if (data.isEmpty())
        return QByteArray();
    // The buffer size of the original interface: 0.1 % plus 12 bytes over the input, in
    // double precision, clamped to a 32-bit count.
    const double bound = double(data.size()) * 1.001 + 12.0;
    const uint32_t capacity = bound >= 4294967295.0 ? UINT32_MAX : uint32_t(bound);
    QByteArray out(qsizetype(capacity), Qt::Uninitialized);
    uLongf produced = capacity;
    const int result = compress(reinterpret_cast<Bytef*>(out.data()), &produced,
        reinterpret_cast<const Bytef*>(data.constData()), uLong(data.size()));
    if (result != Z_OK) {
        QMessageLogger("Source/Extensions/PVNSData_Extensions", 31, "compressedData")
            .critical("-compressedData error");
        return QByteArray();
    }
    out.truncate(qsizetype(produced));
    return out;
}

QByteArray decompressedData(const QByteArray& data)
{
    if (data.isEmpty())
        return data;

    // The first guess is one and a half times the input. A one-byte input gets no room to
    // grow, which makes inflate fail on it as it always did; otherwise the buffer doubles
    // (the original grew by half the input each time, which costs quadratic copying on
    // highly compressed data and gives the same bytes).
    const qsizetype length = data.size();
    const qsizetype step = length / 2;
    QByteArray out(length + step, Qt::Uninitialized);
    qsizetype produced = 0;

    z_stream stream {};
    const auto* input = reinterpret_cast<const Bytef*>(data.constData());
    qsizetype consumed = 0;
    auto feed = [&] {
        const qsizetype chunk = std::min<qsizetype>(length - consumed, UINT_MAX);
        stream.next_in = const_cast<Bytef*>(input + consumed);
        stream.avail_in = uInt(chunk);
        consumed += chunk;
    };
    feed();
    if (inflateInit(&stream) != Z_OK)
        return QByteArray();

    int result = Z_OK;
    for (;;) {
        if (produced == out.size() && step > 0)
            out.resize(out.size() + std::max(step, out.size()));
        if (stream.avail_in == 0 && consumed < length)
            feed();
        const qsizetype room = std::min<qsizetype>(out.size() - produced, UINT_MAX);
        stream.next_out = reinterpret_cast<Bytef*>(out.data() + produced);
        stream.avail_out = uInt(room);
        result = inflate(&stream, Z_SYNC_FLUSH);
        produced += room - qsizetype(stream.avail_out);
        if (result != Z_OK)
            break;
    }
    if (inflateEnd(&stream) != Z_OK || result != Z_STREAM_END)
        return QByteArray();
    out.truncate(produced);
    return out;
}
