#include "http_test_server.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

namespace CorvelTest {

HttpTestServer::HttpTestServer(QObject* parent) : QObject(parent)
{
    connect(&m_server, &QTcpServer::newConnection, this, &HttpTestServer::onConnection);
    m_server.listen(QHostAddress::LocalHost, 0);
}

void HttpTestServer::setResponse(const QString& path, const Response& response)
{
    m_responses.insert(path.toUtf8(), response);
}

QString HttpTestServer::url(const QString& path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path);
}

void HttpTestServer::onConnection()
{
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        auto buffer = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, this, [this, socket, buffer] {
            buffer->append(socket->readAll());
            const int end = buffer->indexOf("\r\n\r\n");
            if (end < 0)
                return;
            const QList<QByteArray> requestLine = buffer->left(buffer->indexOf("\r\n")).split(' ');
            buffer->remove(0, end + 4);
            answer(socket, requestLine.value(1));
        });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void HttpTestServer::answer(QTcpSocket* socket, const QByteArray& path)
{
    m_requested << QString::fromUtf8(path);
    Response response;
    if (m_responses.contains(path)) {
        response = m_responses.value(path);
    } else {
        response.status = 404;
        response.body = "not here";
    }

    QByteArray head = "HTTP/1.1 " + QByteArray::number(response.status) + " X\r\n";
    if (!response.location.isEmpty())
        head += "Location: " + response.location + "\r\n";
    if (response.sendLength)
        head += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    head += "Connection: close\r\n\r\n";

    QPointer<QTcpSocket> guard(socket);
    auto send = [guard, head, response] {
        if (!guard)
            return;
        guard->write(head);
        if (response.stallAfter >= 0) {
            guard->write(response.body.left(response.stallAfter));
            return;
        }
        guard->write(response.dropAfter >= 0 ? response.body.left(response.dropAfter) : response.body);
        guard->disconnectFromHost();
    };
    if (response.delayMs > 0)
        QTimer::singleShot(response.delayMs, socket, send);
    else
        send();
}

} // namespace CorvelTest
