// Making the service client: the certificate-name rule, certificate files, the TLS handshake and
// its checks at creation time, and replies that must not make the console allocate what they claim.

#include "service/client_access_manager.h"
#include "service/service_client.h"
#include "service_testkit.h"
#include "testsupport/log_capture.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TBufferTransports.h>

#include <openssl/ssl.h>

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

using namespace CorvelService;
using namespace apache::thrift::protocol;
using apache::thrift::transport::AccessManager;
using CorvelTest::TlsTestServer;

Q_DECLARE_METATYPE(AccessManager::Decision)

class TestServiceConnection : public QObject {
    Q_OBJECT

private slots:
    void dnsName_data();
    void dnsName();
    void createClient_data();
    void createClient();
    void hostileReplySizes_data();
    void hostileReplySizes();

private:
    QString newPair(const QString& name);

    QTemporaryDir m_root;
    int m_pairs = 0;
};

QString TestServiceConnection::newPair(const QString& name)
{
    const QString dir = m_root.filePath(QString::number(++m_pairs));
    const QString error = CorvelTest::writeCertificatePair(dir, name);
    if (!error.isEmpty())
        qWarning("%s", qPrintable(error));
    return error.isEmpty() ? dir : QString();
}

void TestServiceConnection::dnsName_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<AccessManager::Decision>("decision"); // when "localhost" is expected

    QTest::newRow("exact") << QByteArray("localhost") << AccessManager::ALLOW;
    QTest::newRow("lone asterisk") << QByteArray("*") << AccessManager::ALLOW;
    QTest::newRow("asterisk and tail") << QByteArray("*host") << AccessManager::ALLOW;
    QTest::newRow("plain tail") << QByteArray("host") << AccessManager::ALLOW;
    QTest::newRow("prefix before asterisk ignored") << QByteArray("foo.*calhost") << AccessManager::ALLOW;
    QTest::newRow("wildcard of another domain") << QByteArray("*.example.com") << AccessManager::DENY;
    QTest::newRow("longer than host") << QByteArray("xlocalhost") << AccessManager::DENY;
    QTest::newRow("case differs") << QByteArray("LOCALHOST") << AccessManager::DENY;
    QTest::newRow("second asterisk is literal") << QByteArray("**host") << AccessManager::DENY;
}

void TestServiceConnection::dnsName()
{
    QFETCH(QByteArray, name);
    QFETCH(AccessManager::Decision, decision);

    // The host the library passes is the socket's; the manager decides on its own expected host.
    QCOMPARE(ClientAccessManager("localhost").verify(std::string("127.0.0.1"), name.constData(), name.size()),
             decision);
    QCOMPARE(ClientAccessManager("").verify(std::string("127.0.0.1"), name.constData(), name.size()),
             AccessManager::ALLOW);
}

void TestServiceConnection::createClient_data()
{
    QTest::addColumn<QString>("name");      // of the pair both sides use
    QTest::addColumn<QString>("server");    // "same pair", "other key" (its own pair named localhost), "none"
    QTest::addColumn<int>("version");       // the only TLS version the server offers (0: default)
    QTest::addColumn<bool>("noKey");        // the client's key file is missing
    QTest::addColumn<QString>("firstLine"); // start of the first log line; empty: the client is made
    QTest::addColumn<QString>("secondLine");

    const QString factory = "Failed to create SSL socket factory";
    const QString thrift = "Thrift error: ";
    const QString connect = "Failed to connect to Corvel service";
    const QString same = "same pair";
    const QString empty;
    QTest::newRow("localhost") << "localhost" << same << 0 << false << empty << empty;
    QTest::newRow("name *host") << "*host" << same << 0 << false << empty << empty;
    QTest::newRow("name *.example.com") << "*.example.com" << same << 0 << false << thrift << connect;
    QTest::newRow("untrusted server key") << "localhost" << "other key" << 0 << false << thrift << connect;
    QTest::newRow("server TLS 1.1 only") << "localhost" << same << int(TLS1_1_VERSION) << false << thrift << connect;
    QTest::newRow("server TLS 1.3 only") << "localhost" << same << int(TLS1_3_VERSION) << false << thrift << connect;
    QTest::newRow("nothing listening") << "localhost" << "none" << 0 << false << thrift << connect;
    QTest::newRow("no key") << "localhost" << same << 0 << true << factory + ": " << factory;
}

void TestServiceConnection::createClient()
{
    QFETCH(QString, name);
    QFETCH(QString, server);
    QFETCH(int, version);
    QFETCH(bool, noKey);
    QFETCH(QString, firstLine);
    QFETCH(QString, secondLine);

    const QString dir = newPair(name);
    const QString serverDir = server == "other key" ? newPair("localhost") : dir;
    QVERIFY(!dir.isEmpty() && !serverDir.isEmpty());
    auto listener = std::make_unique<TlsTestServer>();
    QVERIFY(listener->start(serverDir, version).isEmpty());
    const int port = listener->port();
    if (server == "none")
        listener.reset();
    if (noKey)
        QVERIFY(QFile::remove(dir + "/tolvex.key"));

    CorvelTest::LogCapture log;
    const auto client = createServiceClient(dir.toStdString(), "localhost", port);

    QCOMPARE(bool(client), firstLine.isEmpty());
    const QStringList lines = log.texts();
    QCOMPARE(lines.size(), firstLine.isEmpty() ? 0 : 2);
    if (!firstLine.isEmpty()) {
        QVERIFY2(lines[0].startsWith(firstLine) && lines[0].size() > firstLine.size(), qPrintable(lines[0]));
        QVERIFY(log.contains(QtCriticalMsg, secondLine));
    }
    if (listener)
        QTRY_COMPARE_WITH_TIMEOUT(listener->connections(), noKey ? 0 : 1, 5000);
}

void TestServiceConnection::hostileReplySizes_data()
{
    QTest::addColumn<bool>("claimHugeId");
    QTest::newRow("string claims 2 GiB") << true;
    QTest::newRow("list claims 2^31-1 jobs") << false;
}

void TestServiceConnection::hostileReplySizes()
{
    QFETCH(bool, claimHugeId);

    // An incomplete reply: the claimed bytes never come.
    const auto reply = [=](int32_t seqid) {
        auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
        TBinaryProtocol out(buffer);
        out.writeMessageBegin("getAllJobsInfo", T_REPLY, seqid);
        out.writeStructBegin("CorvelService_getAllJobsInfo_result");
        out.writeFieldBegin("success", T_LIST, 0);
        out.writeListBegin(T_STRUCT, claimHugeId ? 1 : 0x7fffffff);
        if (claimHugeId) {
            out.writeStructBegin("JobDescription");
            out.writeFieldBegin("id", T_STRING, 1);
            out.writeI32(0x7fffffff);
        }
        return QByteArray::fromStdString(buffer->getBufferAsString());
    };
    const QString dir = newPair("localhost");
    TlsTestServer server;
    QVERIFY(server.start(dir, 0, reply).isEmpty());
    const auto client = createServiceClient(dir.toStdString(), "localhost", server.port());
    QVERIFY(client);

    std::vector<JobDescription> jobs;
    int thrown = -1;
    try {
        client->getAllJobsInfo(jobs);
    } catch (const TProtocolException& e) {
        thrown = e.getType();
    }
    QCOMPARE(thrown, int(TProtocolException::SIZE_LIMIT));
}

QTEST_GUILESS_MAIN(TestServiceConnection)
#include "tst_service_connection.moc"
