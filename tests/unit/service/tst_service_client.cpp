// Making the service client: the certificate-name rule, the TLS handshake and its checks at
// creation time, and replies that must not make the console allocate what they claim.

#include "service/client_access_manager.h"
#include "service/service_client.h"
#include "testsupport/log_capture.h"
#include "testsupport/service_testkit.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TBufferTransports.h>

#include <openssl/ssl.h>

#include <QTemporaryDir>
#include <QtTest>

#include <functional>
#include <memory>

using namespace CorvelService;
using namespace apache::thrift::protocol;
using apache::thrift::transport::AccessManager;
using apache::thrift::transport::TTransportException;
using CorvelTest::TlsTestServer;

Q_DECLARE_METATYPE(AccessManager::Decision)

namespace {

using Writer = std::function<void(TProtocol& out, int32_t seqid)>;

QByteArray message(const Writer& write, int32_t seqid)
{
    auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
    TBinaryProtocol out(buffer);
    write(out, seqid);
    return QByteArray::fromStdString(buffer->getBufferAsString());
}

// A reply to getAllJobsInfo claiming `claimed` jobs, up to the header of the first one's id; then `rest`.
Writer jobs(int32_t claimed, const std::function<void(TProtocol& out)>& rest = {})
{
    return [=](TProtocol& out, int32_t seqid) {
        out.writeMessageBegin("getAllJobsInfo", T_REPLY, seqid);
        out.writeStructBegin("result");
        out.writeFieldBegin("success", T_LIST, 0);
        out.writeListBegin(T_STRUCT, claimed);
        out.writeStructBegin("JobDescription");
        out.writeFieldBegin("id", T_STRING, 1);
        if (rest)
            rest(out);
    };
}

} // namespace

Q_DECLARE_METATYPE(Writer)

class TestServiceClient : public QObject {
    Q_OBJECT

    QTemporaryDir m_root;
    int m_pairs = 0;

    QString newPair(const QString& name)
    {
        const QString dir = m_root.filePath(QString::number(++m_pairs));
        return CorvelTest::writeCertificatePair(dir, name) ? dir : QString();
    }

private slots:
    void dnsName_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<AccessManager::Decision>("decision"); // when "localhost" is expected

        QTest::newRow("exact") << QByteArray("localhost") << AccessManager::ALLOW;
        QTest::newRow("lone asterisk") << QByteArray("*") << AccessManager::ALLOW;
        QTest::newRow("plain tail") << QByteArray("host") << AccessManager::ALLOW;
        QTest::newRow("prefix before asterisk ignored") << QByteArray("foo.*calhost") << AccessManager::ALLOW;
        QTest::newRow("wildcard of another domain") << QByteArray("*.example.com") << AccessManager::DENY;
        QTest::newRow("longer than host") << QByteArray("xlocalhost") << AccessManager::DENY;
        QTest::newRow("case differs") << QByteArray("LOCALHOST") << AccessManager::DENY;
        QTest::newRow("second asterisk is literal") << QByteArray("**host") << AccessManager::DENY;
    }

    void dnsName()
    {
        QFETCH(QByteArray, name);
        QFETCH(AccessManager::Decision, decision);

        // The host the library passes is the socket's; the manager decides on its own expected host.
        QCOMPARE(ClientAccessManager("localhost").verify(std::string("127.0.0.1"), name.constData(), name.size()),
                 decision);
        QCOMPARE(ClientAccessManager("").verify(std::string("127.0.0.1"), name.constData(), name.size()),
                 AccessManager::ALLOW);
    }

    void createClient_data()
    {
        QTest::addColumn<QString>("name");      // of the pair both sides use
        QTest::addColumn<QString>("server");    // "same pair" or "other key" (its own pair named localhost)
        QTest::addColumn<int>("version");       // the only TLS version the server offers (0: default)
        QTest::addColumn<bool>("noKey");        // the client's key file is missing
        QTest::addColumn<QString>("firstLine"); // start of the first log line; empty: the client is made
        QTest::addColumn<QString>("secondLine");
        QTest::addColumn<QString>("diagnostic"); // what the library's own warning says; empty: none

        const QString factory = "Failed to create SSL socket factory";
        const QString thrift = "Thrift error: ";
        const QString connect = "Failed to connect to Corvel service";
        const QString same = "same pair";
        const QString shutdown = "Thrift library: SSL_shutdown: ";
        QTest::newRow("localhost") << "localhost" << same << 0 << false << ""
                                   << ""
                                   << "";
        QTest::newRow("name *.example.com") << "*.example.com" << same << 0 << false << thrift << connect << "";
        QTest::newRow("untrusted server key") << "localhost"
                                              << "other key" << 0 << false << thrift << connect << shutdown;
        QTest::newRow("server TLS 1.1 only")
            << "localhost" << same << int(TLS1_1_VERSION) << false << thrift << connect << shutdown;
        QTest::newRow("server TLS 1.3 only")
            << "localhost" << same << int(TLS1_3_VERSION) << false << thrift << connect << shutdown;
        QTest::newRow("no key") << "localhost" << same << 0 << true << factory + ": " << factory << "";
    }

    void createClient()
    {
        QFETCH(QString, name);
        QFETCH(QString, server);
        QFETCH(int, version);
        QFETCH(bool, noKey);
        QFETCH(QString, firstLine);
        QFETCH(QString, secondLine);
        QFETCH(QString, diagnostic);

        const QString dir = newPair(name);
        const QString serverDir = server == "other key" ? newPair("localhost") : dir;
        QVERIFY(!dir.isEmpty() && !serverDir.isEmpty());
        TlsTestServer listener;
        QVERIFY(listener.start(serverDir, version).isEmpty());
        if (noKey)
            QVERIFY(QFile::remove(dir + "/tolvex.key"));

        CorvelTest::LogCapture log;
        const auto client = createServiceClient(dir.toStdString(), "localhost", listener.port());

        QCOMPARE(bool(client), firstLine.isEmpty());
        QStringList lines, warnings;
        for (const auto& entry : log.entries())
            (entry.type == QtCriticalMsg ? lines : warnings) << entry.text;
        QCOMPARE(lines.size(), firstLine.isEmpty() ? 0 : 2);
        QCOMPARE(warnings.filter(diagnostic).size(), warnings.size());
        QCOMPARE(warnings.isEmpty(), diagnostic.isEmpty());
        if (!firstLine.isEmpty()) {
            QVERIFY2(lines[0].startsWith(firstLine) && lines[0].size() > firstLine.size(), qPrintable(lines[0]));
            QCOMPARE(lines[1], secondLine);
        }
        QTRY_COMPARE_WITH_TIMEOUT(listener.connections(), noKey ? 0 : 1, 5000);
    }

    void hostileReplies_data()
    {
        QTest::addColumn<Writer>("reply");     // cut short unless said otherwise
        QTest::addColumn<int>("messageLimit"); // 0: the console's
        QTest::addColumn<QString>("failure");

        QTest::newRow("2^31-1 jobs") << jobs(0x7fffffff) << 0 << "SIZE_LIMIT";
        QTest::newRow("50,000 jobs, one sent")
            << jobs(50000, [](TProtocol& out) { out.writeString("job-1"); }) << 0 << "END_OF_FILE";
        QTest::newRow("a 2 GiB job id") << jobs(1, [](TProtocol& out) { out.writeI32(0x7fffffff); }) << 0
                                        << "SIZE_LIMIT";
        QTest::newRow("a 32 MiB job id, 10 bytes sent") << jobs(1, [](TProtocol& out) {
            out.writeI32(32 * 1024 * 1024);
            out.getTransport()->write(reinterpret_cast<const uint8_t*>("0123456789"), 10);
        }) << 0 << "END_OF_FILE";
        QTest::newRow("another protocol version") << Writer([](TProtocol& out, int32_t seqid) {
            out.writeI32(int32_t(0x80020002));
            out.writeString("getAllJobsInfo");
            out.writeI32(seqid);
        }) << 0 << "BAD_VERSION";
        QTest::newRow("a skipped field nested 100 deep") << jobs(1, [](TProtocol& out) {
            out.writeString("job-1");
            out.writeFieldBegin("unknown", T_LIST, 99);
            for (int i = 0; i < 100; ++i)
                out.writeListBegin(T_LIST, 1);
        }) << 0 << "DEPTH_LIMIT";
        QTest::newRow("past the message limit, all sent") << jobs(100, [](TProtocol& out) {
            for (int i = 0; i < 100; ++i) {
                if (i > 0)
                    out.writeFieldBegin("id", T_STRING, 1);
                out.writeString(std::string(1024, 'd'));
                out.writeFieldStop();
            }
        }) << 64 * 1024 << "SIZE_LIMIT";
    }

    void hostileReplies()
    {
        QFETCH(Writer, reply);
        QFETCH(int, messageLimit);
        QFETCH(QString, failure);

        const QString dir = newPair("localhost");
        TlsTestServer server;
        const auto answer = [&](int32_t seqid) { return message(reply, seqid); };
        QVERIFY(server.start(dir, 0, answer).isEmpty());
        ReplyLimits limits;
        if (messageLimit)
            limits.messageBytes = messageLimit;
        const auto client = createServiceClient(dir.toStdString(), "localhost", server.port(), limits);
        QVERIFY(client);

        QVERIFY(CorvelTest::resetPeakMemory());
        const qint64 before = CorvelTest::statusKiB("VmRSS:");
        QString thrown = "nothing";
        std::vector<JobDescription> read;
        try {
            client->getAllJobsInfo(read);
        } catch (const TProtocolException& e) {
            const QStringList names{"UNKNOWN",     "INVALID_DATA",    "NEGATIVE_SIZE", "SIZE_LIMIT",
                                    "BAD_VERSION", "NOT_IMPLEMENTED", "DEPTH_LIMIT"};
            thrown = names.value(e.getType(), e.what());
        } catch (const TTransportException& e) {
            thrown = e.getType() == TTransportException::END_OF_FILE ? "END_OF_FILE" : e.what();
        } catch (const std::exception& e) {
            thrown = e.what();
        }
        const qint64 growthKiB = CorvelTest::statusKiB("VmHWM:") - before;
        QCOMPARE(thrown, failure);
        QVERIFY2(growthKiB < 4 * 1024, qPrintable(QString("peak grew by %1 KiB").arg(growthKiB)));
    }
};

QTEST_GUILESS_MAIN(TestServiceClient)
#include "tst_service_client.moc"
