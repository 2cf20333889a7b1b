#include "DataCompression.h"

#include <QtGlobal>

#include <zlib.h>

#if defined(__linux__)
#include <sys/mman.h>
#endif

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

namespace {

// Output is handed to inflate in slices of this size at most, each one faulted in by a
// single call just before inflate writes it (see prefault).
constexpr qsizetype kSlice = qsizetype(4) << 20;

// Maps the pages of a slice of the output in one system call. Highly compressed streams
// fill tens of megabytes in a few milliseconds, and taking one page fault per 4 KiB page
// while inflate writes costs a good part of that time. Only a hint: if the kernel does not
// know it, the pages fault in as usual.
void prefault(char* begin, qsizetype size)
{
#if defined(__linux__) && defined(MADV_POPULATE_WRITE)
    constexpr uintptr_t kPage = uintptr_t(4) << 10;
    if (size < qsizetype(16 * kPage))
        return;
    const uintptr_t first = (reinterpret_cast<uintptr_t>(begin) + kPage - 1) & ~(kPage - 1);
    const uintptr_t last = (reinterpret_cast<uintptr_t>(begin) + uintptr_t(size)) & ~(kPage - 1);
    if (last > first)
        madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
#else
    (void)begin;
    (void)size;
#endif
}

} // namespace

QByteArray decompressedData(const QByteArray& data)
{
    if (data.isEmpty())
        return data;

    // The first buffer is one and a half times the input. A one-byte input gets no room to
    // grow, so inflate finds no room and fails on it, as it always has. Otherwise the
    // buffer grows geometrically when full (growing by half the input each time, as the
    // original did, gives the same bytes but costs quadratic copying on highly compressed
    // data).
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
        if (produced == out.size() && step > 0) {
            // At least double; and when the ratio so far predicts a larger total, go most of
            // the way there at once (up to 16 times), so that a highly compressed stream is
            // not copied from buffer to buffer on its way up. The cap keeps an early run of
            // zeros in a long stream from asking for far more memory than it will use.
            qsizetype grown = out.size() + std::max(step, out.size());
            if (stream.total_in > 0) {
                const double predicted = double(produced) * double(length) / double(stream.total_in) * 1.05;
                const double cap = double(out.size()) * 16.0;
                if (predicted > double(grown))
                    grown = qsizetype(std::min(predicted, cap));
            }
            out.resize(grown);
        }
        if (stream.avail_in == 0 && consumed < length)
            feed();
        const qsizetype room = std::min(out.size() - produced, kSlice);
        prefault(out.data() + produced, room);
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
    out.squeeze();
    return out;
}
