#pragma once

#include <QHash>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

namespace CorvelTest {

// A loopback HTTP/1.1 server with canned answers per path (404 otherwise), for replies no real
// server gives on cue.
class HttpTestServer {
public:
    struct Response {
        int status = 200;
        QByteArray body;
        int delayMs = 0;
        bool sendLength = true; // without it the client cannot know the total size
        int stallAfter = -1;    // send this many body bytes, then keep the connection open
        bool keepOpen = false;  // the whole reply, then the connection stays open (no "Connection: close")
        QByteArray location{};  // a Location header when not empty
    };

    HttpTestServer()
    {
        QObject::connect(&m_server, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection()) {
                auto buffer = std::make_shared<QByteArray>();
                QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, buffer] {
                    buffer->append(socket->readAll());
                    if (buffer->contains("\r\n\r\n")) {
                        answer(socket, QString::fromUtf8(buffer->split(' ').value(1)));
                        buffer->clear();
                    }
                });
            }
        });
        m_server.listen(QHostAddress::LocalHost, 0);
    }

    void setResponse(const QString& path, const Response& response) { m_responses.insert(path, response); }
    QString url(const QString& path) const
    {
        return QString("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path);
    }
    QStringList requestedPaths() const { return m_requested; }

private:
    void answer(QTcpSocket* socket, const QString& path)
    {
        m_requested << path;
        const Response r = m_responses.value(path, Response{404, "not here"});
        QByteArray head = "HTTP/1.1 " + QByteArray::number(r.status) + " X\r\n";
        if (!r.keepOpen)
            head += "Connection: close\r\n";
        if (!r.location.isEmpty())
            head += "Location: " + r.location + "\r\n";
        if (r.sendLength)
            head += "Content-Length: " + QByteArray::number(r.body.size()) + "\r\n";
        QTimer::singleShot(r.delayMs, socket, [socket, r, head] {
            socket->write(head + "\r\n" + (r.stallAfter >= 0 ? r.body.left(r.stallAfter) : r.body));
            if (r.stallAfter < 0 && !r.keepOpen)
                socket->disconnectFromHost();
        });
    }

    QTcpServer m_server;
    QHash<QString, Response> m_responses;
    QStringList m_requested;
};

} // namespace CorvelTest
