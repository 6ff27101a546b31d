#include "core/bounded_body.h"

#include <zlib.h>

namespace Corvel {

struct BoundedBody::Inflater {
    z_stream stream{};
    bool open = false;
    ~Inflater()
    {
        if (open)
            inflateEnd(&stream);
    }
};

BoundedBody::BoundedBody(const QByteArray& contentEncoding, qint64 limit)
    : m_limit(limit)
{
    const QByteArray encoding = contentEncoding.trimmed().toLower();
    if (encoding.isEmpty() || encoding == "identity")
        return;
    const bool gzip = encoding == "gzip" || encoding == "x-gzip";
    if (!gzip && encoding != "deflate") {
        m_status = Status::Unreadable;
        return;
    }
    m_rawFallback = !gzip;
    m_inflater = std::make_unique<Inflater>();
    // 16 + the largest window: gzip framing; the largest window alone: zlib framing.
    m_inflater->open = inflateInit2(&m_inflater->stream, gzip ? 16 + MAX_WBITS : MAX_WBITS) == Z_OK;
    if (!m_inflater->open)
        m_status = Status::Unreadable;
    m_streamEnded = false;
}

BoundedBody::~BoundedBody() = default;

bool BoundedBody::deliver(const char* data, qint64 size, const Sink& sink)
{
    if (size <= 0)
        return true;
    m_decoded += size;
    if (m_decoded > m_limit) {
        m_status = Status::TooLarge;
        return false;
    }
    if (!sink(data, size)) {
        m_status = Status::Unreadable;
        return false;
    }
    return true;
}

BoundedBody::Status BoundedBody::feed(const QByteArray& received, const Sink& sink)
{
    if (m_status != Status::Ok || received.isEmpty())
        return m_status;
    const bool first = !m_inputSeen;
    m_inputSeen = true;
    if (!m_inflater) {
        for (qint64 offset = 0; offset < received.size(); offset += PieceBytes)
            if (!deliver(received.constData() + offset, qMin<qint64>(PieceBytes, received.size() - offset), sink))
                break;
        return m_status;
    }

    z_stream& stream = m_inflater->stream;
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(received.constData()));
    stream.avail_in = static_cast<uInt>(received.size());
    char piece[PieceBytes];
    for (;;) {
        // A body may hold several gzip members one after another.
        if (m_streamEnded) {
            if (stream.avail_in == 0)
                break;
            if (inflateReset(&stream) != Z_OK) {
                m_status = Status::Unreadable;
                break;
            }
            m_streamEnded = false;
        }
        stream.next_out = reinterpret_cast<Bytef*>(piece);
        stream.avail_out = sizeof(piece);
        const int result = inflate(&stream, Z_NO_FLUSH);
        if (result == Z_BUF_ERROR)
            break; // nothing more to do with what has arrived
        if (result == Z_DATA_ERROR && m_rawFallback && first && m_decoded == 0) {
            m_rawFallback = false;
            inflateEnd(&stream);
            stream = z_stream{};
            m_inflater->open = inflateInit2(&stream, -MAX_WBITS) == Z_OK;
            if (!m_inflater->open) {
                m_status = Status::Unreadable;
                break;
            }
            stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(received.constData()));
            stream.avail_in = static_cast<uInt>(received.size());
            continue;
        }
        if (result != Z_OK && result != Z_STREAM_END) {
            m_status = Status::Unreadable;
            break;
        }
        if (!deliver(piece, qint64(sizeof(piece)) - stream.avail_out, sink))
            break;
        if (result == Z_STREAM_END)
            m_streamEnded = true;
        // Otherwise inflate stopped because the input ran out or the piece is full.
        else if (stream.avail_in == 0 && stream.avail_out > 0)
            break;
    }
    return m_status;
}

BoundedBody::Status BoundedBody::finish()
{
    if (m_status == Status::Ok && m_inputSeen && !m_streamEnded)
        m_status = Status::Unreadable;
    return m_status;
}

} // namespace Corvel
