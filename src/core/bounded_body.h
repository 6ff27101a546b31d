#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <functional>
#include <memory>

namespace Corvel {

// Decodes an HTTP body as it arrives, without ever holding more than a small piece of it decoded:
// the network layer's own decompression inflates a whole received block at once, and a block of
// gzip can inflate a thousandfold. Knows the identity, gzip and deflate encodings. Requests send the
// network layer's usual Accept-Encoding themselves, which turns its decompression off.
class BoundedBody {
public:
    enum class Status { Ok, TooLarge, Unreadable };
    // Takes each decoded piece (at most PieceBytes); false stops the decoding as Unreadable.
    using Sink = std::function<bool(const char* data, qint64 size)>;
    static constexpr qint64 PieceBytes = 64 * 1024;
    static constexpr char AcceptEncoding[] = "gzip, deflate";

    // contentEncoding: the reply's Content-Encoding header (empty for none).
    BoundedBody(const QByteArray& contentEncoding, qint64 limit);
    ~BoundedBody();
    BoundedBody(const BoundedBody&) = delete;
    BoundedBody& operator=(const BoundedBody&) = delete;

    // Decodes the next received bytes into the sink. Once not Ok, it stays so and decodes nothing more.
    Status feed(const QByteArray& received, const Sink& sink);
    // At the end of the body: Unreadable when compressed data broke off.
    Status finish();

    Status status() const { return m_status; }
    qint64 decodedSize() const { return m_decoded; }

private:
    struct Inflater;
    bool deliver(const char* data, qint64 size, const Sink& sink);

    std::unique_ptr<Inflater> m_inflater; // null for the identity encoding
    const qint64 m_limit;
    qint64 m_decoded = 0;
    bool m_streamEnded = true;
    bool m_inputSeen = false;
    // "deflate" is meant to be zlib-wrapped, but some servers send it raw.
    bool m_rawFallback = false;
    Status m_status = Status::Ok;
};

} // namespace Corvel
