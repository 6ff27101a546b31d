// Making the service client: certificate files, the TLS handshake and its checks at creation
// time, and replies that must not make the console allocate what they claim.

#include "service/service_client.h"
#include "service_testkit.h"
#include "testsupport/log_capture.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TBufferTransports.h>

#include <openssl/ssl.h>

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

using namespace CorvelService;
using namespace apache::thrift::protocol;
using apache::thrift::transport::TMemoryBuffer;
using CorvelTest::TlsTestServer;

namespace {

// The reply of getAllJobsInfo as the hand-made server sends it; "body" writes into the list.
QByteArray jobsReply(int32_t seqid, int32_t listSize, const std::function<void(TBinaryProtocol&)>& body)
{
    auto buffer = std::make_shared<TMemoryBuffer>();
    TBinaryProtocol out(buffer);
    out.writeMessageBegin("getAllJobsInfo", T_REPLY, seqid);
    out.writeStructBegin("CorvelService_getAllJobsInfo_result");
    out.writeFieldBegin("success", T_LIST, 0);
    out.writeListBegin(T_STRUCT, static_cast<uint32_t>(listSize));
    body(out);
    return QByteArray::fromStdString(buffer->getBufferAsString());
}

void finishJobsReply(TBinaryProtocol& out)
{
    out.writeListEnd();
    out.writeFieldEnd();
    out.writeFieldStop();
    out.writeStructEnd();
    out.writeMessageEnd();
}

} // namespace

class TestServiceConnection : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void brokenCertificateFiles_data();
    void brokenCertificateFiles();
    void nothingListening();
    void peerChecksAtCreation_data();
    void peerChecksAtCreation();
    void hostileReplySizes_data();
    void hostileReplySizes();

private:
    QTemporaryDir m_root;
    QString m_localhostDir; // pair from scripts/make-certs
};

void TestServiceConnection::initTestCase()
{
    QVERIFY(m_root.isValid());
    m_localhostDir = m_root.filePath("localhost");
    const QString error = CorvelTest::runMakeCerts(m_localhostDir);
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void TestServiceConnection::brokenCertificateFiles_data()
{
    QTest::addColumn<QString>("removeFile");
    QTest::addColumn<QByteArray>("replaceKeyWith");

    QTest::newRow("key missing") << "tolvex.key" << QByteArray();
    QTest::newRow("certificate missing") << "tolvex.crt" << QByteArray();
    QTest::newRow("key not PEM") << QString() << QByteArray("not a key\n");
}

void TestServiceConnection::brokenCertificateFiles()
{
    QFETCH(QString, removeFile);
    QFETCH(QByteArray, replaceKeyWith);

    const QString dir = m_root.filePath(QString("broken-%1").arg(QTest::currentDataTag()).replace(' ', '-'));
    QVERIFY(CorvelTest::runMakeCerts(dir).isEmpty());
    TlsTestServer server;
    QVERIFY(server.start({dir + "/tolvex.crt", dir + "/tolvex.key"}).isEmpty());

    if (!removeFile.isEmpty())
        QVERIFY(QFile::remove(dir + "/" + removeFile));
    if (!replaceKeyWith.isEmpty()) {
        QFile key(dir + "/tolvex.key");
        QVERIFY(key.open(QIODevice::WriteOnly | QIODevice::Truncate));
        key.write(replaceKeyWith);
    }

    CorvelTest::LogCapture log;
    const auto client = createServiceClient(dir.toStdString(), "localhost", server.port());

    QVERIFY(!client);
    const QStringList lines = log.texts();
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines[0].startsWith("Failed to create SSL socket factory: ") && lines[0].size() > 37, qPrintable(lines[0]));
    QCOMPARE(lines[1], QString("Failed to create SSL socket factory"));
    QVERIFY(log.contains(QtCriticalMsg, lines[1]));
    QCOMPARE(server.connections(), 0);
}

void TestServiceConnection::nothingListening()
{
    int freePort = 0;
    {
        TlsTestServer probe;
        QVERIFY(probe.start({m_localhostDir + "/tolvex.crt", m_localhostDir + "/tolvex.key"}).isEmpty());
        freePort = probe.port();
    }

    CorvelTest::LogCapture log;
    const auto client = createServiceClient(m_localhostDir.toStdString(), "localhost", freePort);

    QVERIFY(!client);
    const QStringList lines = log.texts();
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines[0].startsWith("Thrift error: "), qPrintable(lines[0]));
    QCOMPARE(lines[1], QString("Failed to connect to Corvel service"));
    QVERIFY(log.contains(QtCriticalMsg, lines[1]));
}

void TestServiceConnection::peerChecksAtCreation_data()
{
    QTest::addColumn<QStringList>("sharedNames"); // names of the pair both sides use
    QTest::addColumn<bool>("serverUsesOtherKey"); // server: own pair named localhost
    QTest::addColumn<int>("serverMinVersion");
    QTest::addColumn<int>("serverMaxVersion");
    QTest::addColumn<bool>("accepted");

    const QStringList localhost{"localhost"};
    QTest::newRow("localhost, TLS 1.2") << localhost << false << 0 << 0 << true;
    QTest::newRow("name *host") << QStringList{"*host"} << false << 0 << 0 << true;
    QTest::newRow("name host") << QStringList{"host"} << false << 0 << 0 << true;
    QTest::newRow("name *.example.com") << QStringList{"*.example.com"} << false << 0 << 0 << false;
    QTest::newRow("name *.localhost") << QStringList{"*.localhost"} << false << 0 << 0 << false;
    QTest::newRow("name LOCALHOST") << QStringList{"LOCALHOST"} << false << 0 << 0 << false;
    QTest::newRow("untrusted server key") << localhost << true << 0 << 0 << false;
    QTest::newRow("server TLS 1.1 only") << localhost << false << int(TLS1_1_VERSION) << int(TLS1_1_VERSION) << false;
    QTest::newRow("server TLS 1.3 only") << localhost << false << int(TLS1_3_VERSION) << int(TLS1_3_VERSION) << false;
}

void TestServiceConnection::peerChecksAtCreation()
{
    QFETCH(QStringList, sharedNames);
    QFETCH(bool, serverUsesOtherKey);
    QFETCH(int, serverMinVersion);
    QFETCH(int, serverMaxVersion);
    QFETCH(bool, accepted);

    const QString tag = QString(QTest::currentDataTag()).replace(QRegularExpression("[^A-Za-z0-9]"), "_");
    const QString clientDir = m_root.filePath("client-" + tag);
    QString error = CorvelTest::writeCertificatePair(clientDir, sharedNames);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QString serverDir = clientDir;
    if (serverUsesOtherKey) {
        serverDir = m_root.filePath("server-" + tag);
        error = CorvelTest::writeCertificatePair(serverDir, {"localhost"});
        QVERIFY2(error.isEmpty(), qPrintable(error));
    }

    TlsTestServer::Config config{serverDir + "/tolvex.crt", serverDir + "/tolvex.key"};
    config.minVersion = serverMinVersion;
    config.maxVersion = serverMaxVersion;
    // Old protocol versions are below OpenSSL's default security level; lower it on the server
    // so that refusing TLS 1.1 is left to the client.
    if (serverMaxVersion == TLS1_1_VERSION)
        config.securityLevel = 0;
    TlsTestServer server;
    QVERIFY(server.start(config).isEmpty());

    CorvelTest::LogCapture log;
    auto client = createServiceClient(clientDir.toStdString(), "localhost", server.port());

    QCOMPARE(bool(client), accepted);
    QTRY_COMPARE_WITH_TIMEOUT(server.connections(), 1, 5000);
    if (accepted) {
        QVERIFY2(log.texts().isEmpty(), qPrintable(log.texts().join('\n')));
        // The server thread counts the handshake after the client has already seen it finish.
        QTRY_COMPARE_WITH_TIMEOUT(server.handshakes(), 1, 5000);
    } else {
        const QStringList lines = log.texts();
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines[0].startsWith("Thrift error: "), qPrintable(lines[0]));
        QCOMPARE(lines[1], QString("Failed to connect to Corvel service"));
    }
    client.reset();
}

void TestServiceConnection::hostileReplySizes_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("exceptionType"); // -1: the call succeeds

    QTest::newRow("well-formed reply") << 0 << -1;
    QTest::newRow("string claims 2 GiB") << 1 << int(TProtocolException::SIZE_LIMIT);
    QTest::newRow("list claims 2^31-1 jobs") << 2 << int(TProtocolException::SIZE_LIMIT);
    QTest::newRow("volume list claims 1000001 entries") << 3 << int(TProtocolException::SIZE_LIMIT);
}

void TestServiceConnection::hostileReplySizes()
{
    QFETCH(int, kind);
    QFETCH(int, exceptionType);

    TlsTestServer::Config config{m_localhostDir + "/tolvex.crt", m_localhostDir + "/tolvex.key"};
    config.reply = [kind](int32_t seqid) {
        switch (kind) {
        case 1:
            return jobsReply(seqid, 1, [](TBinaryProtocol& out) {
                out.writeStructBegin("JobDescription");
                out.writeFieldBegin("id", T_STRING, 1);
                out.writeI32(0x7fffffff); // length only; the bytes never come
            });
        case 2:
            return jobsReply(seqid, 0x7fffffff, [](TBinaryProtocol&) {});
        case 3:
            return jobsReply(seqid, 1, [](TBinaryProtocol& out) {
                out.writeStructBegin("JobDescription");
                out.writeFieldBegin("configuration", T_STRUCT, 3);
                out.writeStructBegin("JobConfiguration");
                out.writeFieldBegin("disks_names", T_LIST, 14);
                out.writeListBegin(T_STRING, 1000001);
                for (int i = 0; i < 1000001; ++i)
                    out.writeI32(0);
            });
        default:
            return jobsReply(seqid, 1, [](TBinaryProtocol& out) {
                JobDescription job;
                job.id = "job-1";
                job.write(&out);
                finishJobsReply(out);
            });
        }
    };
    TlsTestServer server;
    QVERIFY(server.start(config).isEmpty());
    auto client = createServiceClient(m_localhostDir.toStdString(), "localhost", server.port());
    QVERIFY(client);

    std::vector<JobDescription> jobs;
    int thrown = -1;
    try {
        client->getAllJobsInfo(jobs);
    } catch (const TProtocolException& e) {
        thrown = e.getType();
    }
    QCOMPARE(thrown, exceptionType);
    if (exceptionType < 0) {
        QCOMPARE(jobs.size(), size_t(1));
        QCOMPARE(jobs[0].id, std::string("job-1"));
    }
    client.reset();
}

QTEST_GUILESS_MAIN(TestServiceConnection)
#include "tst_service_connection.moc"
