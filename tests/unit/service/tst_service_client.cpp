// Making the service client: the certificate-name rule, certificate files (a key that wants a
// passphrase included), the TLS handshake and its checks at creation time, the library's own
// diagnostics in the log, replies that must not make the console allocate what they claim, and
// long lists that must still read.

#include "core/cv_logger.h"
#include "service/client_access_manager.h"
#include "service/service_client.h"
#include "testsupport/log_capture.h"
#include "testsupport/service_testkit.h"

#include <thrift/protocol/TBinaryProtocol.h>
#include <thrift/protocol/TProtocolException.h>
#include <thrift/transport/TBufferTransports.h>

#include <openssl/ssl.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <functional>
#include <memory>

using namespace CorvelService;
using namespace apache::thrift::protocol;
using apache::thrift::transport::AccessManager;
using CorvelTest::TlsTestServer;

Q_DECLARE_METATYPE(AccessManager::Decision)

class TestServiceClient : public QObject {
    Q_OBJECT

private slots:
    void dnsName_data();
    void dnsName();
    void createClient_data();
    void createClient();
    void hostileReplies_data();
    void hostileReplies();
    void longListsRead_data();
    void longListsRead();
    void thriftDiagnosticsReachLogFile();
    void passphraseProtectedKeyFailsAtOnce();

private:
    QString newPair(const QString& name);

    QTemporaryDir m_root;
    int m_pairs = 0;
};

QString TestServiceClient::newPair(const QString& name)
{
    const QString dir = m_root.filePath(QString::number(++m_pairs));
    const QString error = CorvelTest::writeCertificatePair(dir, name);
    if (!error.isEmpty())
        qWarning("%s", qPrintable(error));
    return error.isEmpty() ? dir : QString();
}

void TestServiceClient::dnsName_data()
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

void TestServiceClient::dnsName()
{
    QFETCH(QByteArray, name);
    QFETCH(AccessManager::Decision, decision);

    // The host the library passes is the socket's; the manager decides on its own expected host.
    QCOMPARE(ClientAccessManager("localhost").verify(std::string("127.0.0.1"), name.constData(), name.size()),
             decision);
    QCOMPARE(ClientAccessManager("").verify(std::string("127.0.0.1"), name.constData(), name.size()),
             AccessManager::ALLOW);
}

void TestServiceClient::createClient_data()
{
    QTest::addColumn<QString>("name");      // of the pair both sides use
    QTest::addColumn<QString>("server");    // "same pair", "other key" (its own pair named localhost), "none"
    QTest::addColumn<int>("version");       // the only TLS version the server offers (0: default)
    QTest::addColumn<bool>("noKey");        // the client's key file is missing
    QTest::addColumn<QString>("firstLine"); // start of the first log line; empty: the client is made
    QTest::addColumn<QString>("secondLine");
    QTest::addColumn<QString>("diagnostic"); // what the library's own warning says; empty: none

    const QString factory = "Failed to create SSL socket factory";
    const QString thrift = "Thrift error: ";
    const QString connect = "Failed to connect to Corvel service";
    const QString same = "same pair";
    const QString empty;
    const QString shutdown = "Thrift library: SSL_shutdown: ";
    QTest::newRow("localhost") << "localhost" << same << 0 << false << empty << empty << empty;
    QTest::newRow("name *host") << "*host" << same << 0 << false << empty << empty << empty;
    QTest::newRow("name *.example.com") << "*.example.com" << same << 0 << false << thrift << connect << empty;
    QTest::newRow("untrusted server key") << "localhost"
                                          << "other key" << 0 << false << thrift << connect << shutdown;
    QTest::newRow("server TLS 1.1 only") << "localhost" << same << int(TLS1_1_VERSION) << false << thrift << connect
                                         << shutdown;
    QTest::newRow("server TLS 1.3 only") << "localhost" << same << int(TLS1_3_VERSION) << false << thrift << connect
                                         << shutdown;
    QTest::newRow("nothing listening") << "localhost"
                                       << "none" << 0 << false << thrift << connect
                                       << "Thrift library: TSocket::open() connect() <Host: localhost Port: ";
    QTest::newRow("no key") << "localhost" << same << 0 << true << factory + ": " << factory << empty;
}

void TestServiceClient::createClient()
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
    QStringList lines;
    QStringList warnings;
    for (const auto& entry : log.entries())
        (entry.type == QtCriticalMsg ? lines : warnings) << entry.text;
    QCOMPARE(lines.size(), firstLine.isEmpty() ? 0 : 2);
    QCOMPARE(warnings.filter(diagnostic).size(), warnings.size());
    QCOMPARE(warnings.isEmpty(), diagnostic.isEmpty());
    if (!firstLine.isEmpty()) {
        QVERIFY2(lines[0].startsWith(firstLine) && lines[0].size() > firstLine.size(), qPrintable(lines[0]));
        QVERIFY(log.contains(QtCriticalMsg, secondLine));
    }
    if (listener)
        QTRY_COMPARE_WITH_TIMEOUT(listener->connections(), noKey ? 0 : 1, 5000);
}

namespace {

using Writer = std::function<void(TProtocol& out, int32_t seqid)>;

QByteArray message(const Writer& write, int32_t seqid)
{
    auto buffer = std::make_shared<apache::thrift::transport::TMemoryBuffer>();
    TBinaryProtocol out(buffer);
    write(out, seqid);
    return QByteArray::fromStdString(buffer->getBufferAsString());
}

// The reply header and the start of the result's success field.
void beginReply(TProtocol& out, int32_t seqid, const char* method, TType type)
{
    out.writeMessageBegin(method, T_REPLY, seqid);
    out.writeStructBegin("result");
    out.writeFieldBegin("success", type, 0);
}

const int32_t kHugeString = 32 * 1024 * 1024;

} // namespace

Q_DECLARE_METATYPE(Writer)

void TestServiceClient::hostileReplies_data()
{
    QTest::addColumn<Writer>("reply");     // a reply to getAllJobsInfo, cut short unless said otherwise
    QTest::addColumn<int>("messageLimit"); // 0: the console's
    QTest::addColumn<QString>("failure");

    const auto jobs = [](int32_t claimed) {
        return [claimed](TProtocol& out, int32_t seqid) {
            beginReply(out, seqid, "getAllJobsInfo", T_LIST);
            out.writeListBegin(T_STRUCT, claimed);
            out.writeStructBegin("JobDescription");
            out.writeFieldBegin("id", T_STRING, 1);
        };
    };
    QTest::newRow("2^31-1 jobs") << Writer([=](TProtocol& out, int32_t seqid) { jobs(0x7fffffff)(out, seqid); }) << 0
                                 << "SIZE_LIMIT";
    QTest::newRow("1,000,000 jobs") << Writer([=](TProtocol& out, int32_t seqid) { jobs(1000000)(out, seqid); }) << 0
                                    << "SIZE_LIMIT";
    QTest::newRow("50,000 jobs, one sent") << Writer([=](TProtocol& out, int32_t seqid) {
        jobs(50000)(out, seqid);
        out.writeString("job-1");
    }) << 0 << "END_OF_FILE";
    QTest::newRow("a 2 GiB job id") << Writer([=](TProtocol& out, int32_t seqid) {
        jobs(1)(out, seqid);
        out.writeI32(0x7fffffff);
    }) << 0 << "SIZE_LIMIT";
    QTest::newRow("a 32 MiB job id, 10 bytes sent") << Writer([=](TProtocol& out, int32_t seqid) {
        jobs(1)(out, seqid);
        out.writeI32(kHugeString);
        out.getTransport()->write(reinterpret_cast<const uint8_t*>("0123456789"), 10);
    }) << 0 << "END_OF_FILE";
    QTest::newRow("a 32 MiB method name") << Writer([](TProtocol& out, int32_t) {
        out.writeI32(int32_t(0x80010002));
        out.writeI32(kHugeString);
    }) << 0 << "END_OF_FILE";
    QTest::newRow("another protocol version") << Writer([](TProtocol& out, int32_t seqid) {
        out.writeI32(int32_t(0x80020002));
        out.writeString("getAllJobsInfo");
        out.writeI32(seqid);
    }) << 0 << "BAD_VERSION";
    QTest::newRow("a 32 MiB method name without version")
        << Writer([](TProtocol& out, int32_t) { out.writeI32(kHugeString); }) << 0 << "END_OF_FILE";
    QTest::newRow("a skipped field of 32 MiB") << Writer([=](TProtocol& out, int32_t seqid) {
        jobs(1)(out, seqid);
        out.writeString("job-1");
        out.writeFieldBegin("unknown", T_STRING, 99);
        out.writeI32(kHugeString);
    }) << 0 << "END_OF_FILE";
    QTest::newRow("a skipped field of 50,000 maps") << Writer([=](TProtocol& out, int32_t seqid) {
        jobs(1)(out, seqid);
        out.writeString("job-1");
        out.writeFieldBegin("unknown", T_LIST, 99);
        out.writeListBegin(T_MAP, 50000);
    }) << 0 << "END_OF_FILE";
    QTest::newRow("a skipped field nested 100 deep") << Writer([=](TProtocol& out, int32_t seqid) {
        jobs(1)(out, seqid);
        out.writeString("job-1");
        out.writeFieldBegin("unknown", T_LIST, 99);
        for (int i = 0; i < 100; ++i)
            out.writeListBegin(T_LIST, 1);
    }) << 0 << "DEPTH_LIMIT";
    QTest::newRow("past the message limit, all sent") << Writer([](TProtocol& out, int32_t seqid) {
        beginReply(out, seqid, "getAllJobsInfo", T_LIST);
        out.writeListBegin(T_STRUCT, 100);
        for (int i = 0; i < 100; ++i) {
            out.writeStructBegin("JobDescription");
            out.writeFieldBegin("description", T_STRING, 2);
            out.writeString(std::string(1024, 'd'));
            out.writeFieldEnd();
            out.writeFieldStop();
            out.writeStructEnd();
        }
    }) << 64 * 1024 << "SIZE_LIMIT";
}

void TestServiceClient::hostileReplies()
{
    QFETCH(Writer, reply);
    QFETCH(int, messageLimit);
    QFETCH(QString, failure);

    const QString dir = newPair("localhost");
    TlsTestServer server;
    QVERIFY(server
                .start(
                    dir, 0, [&](int32_t seqid) { return message(reply, seqid); }, true)
                .isEmpty());
    ReplyLimits limits;
    if (messageLimit)
        limits.messageBytes = messageLimit;
    const auto client = createServiceClient(dir.toStdString(), "localhost", server.port(), limits);
    QVERIFY(client);

    QVERIFY(CorvelTest::resetPeakMemory());
    const qint64 before = CorvelTest::statusKiB("VmRSS:");
    QString thrown = "nothing";
    std::vector<JobDescription> jobs;
    try {
        client->getAllJobsInfo(jobs);
    } catch (const TProtocolException& e) {
        static const char* const names[] = {"UNKNOWN",     "INVALID_DATA",    "NEGATIVE_SIZE", "SIZE_LIMIT",
                                            "BAD_VERSION", "NOT_IMPLEMENTED", "DEPTH_LIMIT"};
        thrown = e.getType() >= 0 && e.getType() <= 6 ? names[e.getType()] : "protocol " + QString::number(e.getType());
    } catch (const apache::thrift::transport::TTransportException& e) {
        thrown = e.getType() == apache::thrift::transport::TTransportException::END_OF_FILE
                     ? "END_OF_FILE"
                     : "transport " + QString::number(e.getType()) + ": " + e.what();
    } catch (const std::exception& e) {
        thrown = QString("other: ") + e.what();
    }
    const qint64 growthKiB = CorvelTest::statusKiB("VmHWM:") - before;
    qInfo("peak memory growth during the call: %lld KiB", growthKiB);
    QCOMPARE(thrown, failure);
    QVERIFY2(growthKiB < 4 * 1024, qPrintable(QString("peak grew by %1 KiB").arg(growthKiB)));
}

void TestServiceClient::longListsRead_data()
{
    QTest::addColumn<QString>("what");
    QTest::newRow("10,000 jobs") << "jobs";
    QTest::newRow("10,000 restore points") << "restore points";
    QTest::newRow("10,000 disks of 4 volumes") << "disks";
    QTest::newRow("a 16 MiB job description") << "long description";
}

void TestServiceClient::longListsRead()
{
    QFETCH(QString, what);

    std::vector<JobDescription> jobs;
    std::vector<std::string> points;
    std::vector<DiskInfo> disks;
    for (int i = 0; i < 10000 && what != "long description"; ++i) {
        const std::string n = std::to_string(i);
        JobDescription job;
        job.id = "6f1c2a9e-" + n;
        job.description = "Restore of fileserver-" + n + " to the local disk";
        job.configuration.client_name = "Client " + n;
        job.configuration.device_name = "fileserver-" + n;
        job.configuration.recovery_point = "2026-11-24T22:00:00Z";
        job.configuration.disks_names = {"Disk 0", "Disk 1"};
        job.configuration.vm_settings.name = "vm-" + n;
        job.configuration.vm_settings.network_adapters = {"Default Switch"};
        job.current_work.text = "Restoring";
        job.current_work.technical_details = "block " + n;
        job.current_work.progress = int8_t(i % 100);
        jobs.push_back(job);
        points.push_back("2026-11-" + std::to_string(1 + i % 28) + "T" + n);
        DiskInfo disk;
        disk.name = "Disk " + n;
        disk.volumes.resize(4);
        disk.volumes[3].size = i;
        disks.push_back(disk);
    }
    if (what == "long description") {
        jobs.resize(1);
        jobs[0].description = std::string(16 * 1024 * 1024, 'w');
    }

    const auto reply = [&](int32_t seqid) {
        return message(
            [&](TProtocol& out, int32_t id) {
                if (what == "restore points") {
                    CorvelService_retrieveRestorePoints_result result;
                    result.success = points;
                    result.__isset.success = true;
                    out.writeMessageBegin("retrieveRestorePoints", T_REPLY, id);
                    result.write(&out);
                } else if (what == "disks") {
                    CorvelService_retrieveMetadata_result result;
                    result.success = disks;
                    result.__isset.success = true;
                    out.writeMessageBegin("retrieveMetadata", T_REPLY, id);
                    result.write(&out);
                } else {
                    CorvelService_getAllJobsInfo_result result;
                    result.success = jobs;
                    result.__isset.success = true;
                    out.writeMessageBegin("getAllJobsInfo", T_REPLY, id);
                    result.write(&out);
                }
                out.writeMessageEnd();
            },
            seqid);
    };
    const QString dir = newPair("localhost");
    TlsTestServer server;
    QVERIFY(server.start(dir, 0, reply).isEmpty());
    const auto client = createServiceClient(dir.toStdString(), "localhost", server.port());
    QVERIFY(client);

    if (what == "restore points") {
        std::vector<std::string> read;
        client->retrieveRestorePoints(read, "host", "token");
        QCOMPARE(read, points);
    } else if (what == "disks") {
        std::vector<DiskInfo> read;
        client->retrieveMetadata(read, "host", "token", "2026-11-24T22:00:00Z");
        QVERIFY(read == disks);
    } else {
        std::vector<JobDescription> read;
        client->getAllJobsInfo(read);
        QCOMPARE(read.size(), jobs.size());
        QVERIFY(read == jobs);
    }
}

void TestServiceClient::thriftDiagnosticsReachLogFile()
{
    const QString dir = newPair("localhost");
    auto listener = std::make_unique<TlsTestServer>();
    QVERIFY(listener->start(dir).isEmpty());
    const int port = listener->port();
    listener.reset();

    QTemporaryDir logs;
    QVERIFY(Corvel::CvLogger::init(QtInfoMsg, logs.path(), "corvel.log", 10485760));
    const auto client = createServiceClient(dir.toStdString(), "localhost", port);
    qInstallMessageHandler(nullptr);
    QVERIFY(!client);

    QFile file(logs.filePath("corvel.log"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    const QRegularExpression warning(
        QString("\\tWARN\\tTID=\\d+\\t\\([^)]*\\) Thrift library: TSocket::open\\(\\) connect\\(\\) "
                "<Host: localhost Port: %1>: Connection refused\\r\\n")
            .arg(port));
    QVERIFY2(warning.match(text).hasMatch(), qPrintable(text));
    QVERIFY(text.contains("Failed to connect to Corvel service"));
}

namespace {

int g_resultPipe = -1;

void reportToPipe(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    const QByteArray line = QByteArray::number(type) + ' ' + text.toUtf8() + '\n';
    (void)!::write(g_resultPipe, line.constData(), size_t(line.size()));
}

} // namespace

void TestServiceClient::passphraseProtectedKeyFailsAtOnce()
{
    const QString dir = newPair("localhost");
    QProcess openssl;
    openssl.setProcessChannelMode(QProcess::MergedChannels);
    openssl.start("openssl", {"pkey", "-in", dir + "/tolvex.key", "-aes256", "-passout", "pass:tolvex-secret-words",
                              "-out", dir + "/protected.key"});
    QVERIFY(openssl.waitForFinished(60000) && openssl.exitCode() == 0);
    QVERIFY(QFile::remove(dir + "/tolvex.key") && QFile::rename(dir + "/protected.key", dir + "/tolvex.key"));

    // The factory runs in a child with a terminal of its own, as a console started from a shell
    // would have, and no standard input: nothing may be asked there.
    int pipeFds[2];
    QCOMPARE(::pipe(pipeFds), 0);
    int terminal = -1;
    QElapsedTimer elapsed;
    elapsed.start();
    pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child < 0) {
        // No pseudo-terminals here: at least no standard input and the same checks.
        qWarning("no pseudo-terminal (%s); the child runs without a terminal", std::strerror(errno));
        terminal = ::open("/dev/null", O_RDONLY);
        child = ::fork();
    }
    QVERIFY(child >= 0);
    if (child == 0) {
        ::close(pipeFds[0]);
        ::close(0);
        g_resultPipe = pipeFds[1];
        qInstallMessageHandler(&reportToPipe);
        const bool made = bool(createSslSocketFactory(dir.toStdString()));
        qInfo("factory %s", made ? "made" : "empty");
        ::_exit(0);
    }
    ::close(pipeFds[1]);

    QByteArray screen;
    QByteArray report;
    int status = 0;
    bool ended = false;
    while (!ended && elapsed.elapsed() < 10000) {
        pollfd fds[2] = {{terminal, POLLIN, 0}, {pipeFds[0], POLLIN, 0}};
        ::poll(fds, 2, 100);
        char buffer[4096];
        if (fds[0].revents & POLLIN) {
            const ssize_t n = ::read(terminal, buffer, sizeof buffer);
            if (n > 0)
                screen.append(buffer, int(n));
        }
        if (fds[1].revents & POLLIN) {
            const ssize_t n = ::read(pipeFds[0], buffer, sizeof buffer);
            if (n > 0)
                report.append(buffer, int(n));
        }
        ended = ::waitpid(child, &status, WNOHANG) == child;
    }
    const qint64 took = elapsed.elapsed();
    if (!ended) {
        ::kill(child, SIGKILL);
        ::waitpid(child, &status, 0);
    }
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0)
        report.append(buffer, int(n));
    ::close(pipeFds[0]);
    ::close(terminal);

    QVERIFY2(ended, qPrintable("still waiting after 10 s; the terminal shows: " + QString::fromUtf8(screen)));
    QVERIFY2(took < 5000, qPrintable(QString("took %1 ms").arg(took)));
    QVERIFY2(!screen.toLower().contains("pass phrase"), screen.constData());
    const QList<QByteArray> lines = report.split('\n');
    QVERIFY2(lines.size() >= 2, report.constData());
    const QByteArray failure = QByteArray::number(QtCriticalMsg) + " Failed to create SSL socket factory: ";
    QVERIFY2(lines[0].startsWith(failure) && lines[0].size() > failure.size(), report.constData());
    QVERIFY(!report.contains("tolvex-secret-words"));
    QCOMPARE(lines[1], QByteArray::number(QtInfoMsg) + " factory empty");
}

QTEST_GUILESS_MAIN(TestServiceClient)
#include "tst_service_client.moc"
