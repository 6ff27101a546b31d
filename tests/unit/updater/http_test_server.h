#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QStringList>
#include <QTcpServer>

namespace CorvelTest {

// A loopback HTTP/1.1 server with canned answers per path, for replies no real server gives on cue.
class HttpTestServer : public QObject {
    Q_OBJECT
public:
    struct Response {
        int status = 200;
        QByteArray body;
        int delayMs = 0;
        // Without a length the client cannot know the total size.
        bool sendLength = true;
        // Sends the headers and this many body bytes, then keeps the connection open.
        int stallAfter = -1;
        // Sends the headers and this many body bytes, then hangs up.
        int dropAfter = -1;
        QByteArray location;
    };

    explicit HttpTestServer(QObject* parent = nullptr);

    void setResponse(const QString& path, const Response& response);
    QString url(const QString& path) const;
    QStringList requestedPaths() const { return m_requested; }

private:
    void onConnection();
    void answer(class QTcpSocket* socket, const QByteArray& path);

    QTcpServer m_server;
    QHash<QByteArray, Response> m_responses;
    QStringList m_requested;
};

} // namespace CorvelTest
