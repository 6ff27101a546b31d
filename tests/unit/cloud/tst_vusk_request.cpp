#include "cloud/vusk_request.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "testsupport/test_paths.h"

#include <QNetworkReply>
#include <QProcess>
#include <QSslConfiguration>
#include <QTemporaryDir>
#include <QTcpServer>
#include <QtTest>

#include <functional>

using namespace VuskAPI;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;

namespace {

// Runs one operation and waits for its callback; fails the test when none comes.
template <typename T>
Result<T> call(std::function<QNetworkReply*(Callback<T>)> operation)
{
    std::optional<Result<T>> result;
    int calls = 0;
    operation([&](const Result<T>& r) {
        result = r;
        ++calls;
    });
    (void)QTest::qWaitFor([&] { return calls > 0; }, 20000);
    QTest::qWait(20); // a second invocation would show up here
    if (calls != 1)
        qFatal("callback invoked %d times", calls);
    return *result;
}

QString fakeToken(const QByteArray& json)
{
    return "h." + QString::fromLatin1(json.toBase64()) + ".s";
}

int freePortNobodyListensOn()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort(); // closed again when the probe goes
}

} // namespace

class TestVuskRequest : public QObject {
    Q_OBJECT

    std::unique_ptr<CloudSim> m_sim;
    QJsonObject m_config;
    std::unique_ptr<TmxAuth::AuthSession> m_partner;

private slots:
    void initTestCase()
    {
        m_sim = std::make_unique<CloudSim>();
        QVERIFY(m_sim->start());
        const QString token = m_sim->signIn("partner");
        QVERIFY(!token.isEmpty());
        m_partner = std::make_unique<TmxAuth::AuthSession>(token, m_config);
        QVERIFY(m_partner->isValid());
    }

    // What goes over the wire: path and query exactly as the simulator received them.
    void requestLines_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("requestLine");
        QTest::addColumn<QString>("debugLine");

        QTest::newRow("clients") << "clients" << "GET /vusk/clients?partner_id=7 200"
                                 << "Clients list request: %1/clients?partner_id=7";
        QTest::newRow("data sources") << "datasources" << "GET /vusk/datasources?client_id=101 200"
                                      << "Data sources list request: %1/datasources?client_id=101";
        QTest::newRow("devices, type verbatim")
            << "devices" << "GET /vusk/devices?datasource_id=13&datasource_type=Disk%20&%20Image&client_id=101 200"
            << "Devices list request: %1/devices?datasource_id=13&datasource_type=Disk & Image&client_id=101";
        QTest::newRow("device token") << "token" << "GET /vusk/devices/1301/get_token?datasource_id=13 200"
                                      << "Token for datasource request: %1/devices/1301/get_token?datasource_id=13";
        QTest::newRow("passphrase") << "passphrase" << "GET /vusk/devices/1001/encryption_passphrase 200"
                                    << "Device phrase request: %1/devices/1001/encryption_passphrase";
    }

    void requestLines()
    {
        QFETCH(QString, operation);
        QFETCH(QString, requestLine);
        QFETCH(QString, debugLine);

        VuskRequest request(m_partner.get(), m_sim->vuskUrl());
        LogCapture log;
        const int before = m_sim->requests().size();
        bool ok = false;
        if (operation == "clients")
            ok = call<QList<TmxClient>>([&](auto cb) { return request.getClients(cb); }).index() == 0;
        else if (operation == "datasources")
            ok = call<QList<ClientDataSource>>([&](auto cb) { return request.getDataSources(101, cb); }).index() == 0;
        else if (operation == "devices")
            ok = call<QList<ProtectedDevice>>([&](auto cb) {
                     return request.getDevices(13, "Disk & Image", 101, cb);
                 }).index() == 0;
        else if (operation == "token")
            ok = call<DeviceToken>([&](auto cb) { return request.getDeviceToken(13, 1301, cb); }).index() == 0;
        else
            ok = call<QString>([&](auto cb) { return request.getEncryptionPassphrase(1001, cb); }).index() == 0;
        QVERIFY(ok);
        QCOMPARE(m_sim->requests().mid(before), QStringList{requestLine});
        QVERIFY2(log.contains(QtDebugMsg, debugLine.arg(m_sim->vuskUrl())), qPrintable(log.texts().join('\n')));
        // Secrets stay out of the log.
        for (const QString& line : log.texts()) {
            QVERIFY(!line.contains(m_partner->token()));
            QVERIFY(!line.contains("amber-falcon-42"));
            QVERIFY(!line.contains("device-token-"));
        }
    }

    void adminAsksForPartnerZero()
    {
        TmxAuth::AuthSession admin(m_sim->signIn("admin"), m_config);
        QCOMPARE(admin.userData().resellerId, QString("0"));
        VuskRequest request(&admin, m_sim->vuskUrl());
        const auto result = call<QList<TmxClient>>([&](auto cb) { return request.getClients(cb); });
        QCOMPARE(m_sim->requests().last(), QString("GET /vusk/clients?partner_id=0 200"));
        QCOMPARE(std::get<0>(result).size(), 4);
    }

    void records()
    {
        VuskRequest request(m_partner.get(), m_sim->vuskUrl());
        LogCapture log;

        const auto clients = std::get<0>(call<QList<TmxClient>>([&](auto cb) { return request.getClients(cb); }));
        QCOMPARE(clients.size(), 3);
        QCOMPARE(clients.at(2).id, quint64(103));
        QCOMPARE(clients.at(2).username, QString("quarry"));
        QCOMPARE(clients.at(2).name, QString("Quarry & Sons"));
        QCOMPARE(log.texts().filter(QRegularExpression(R"(^Got client: \[\{"id_": 101, .*"Quarry & Sons"\}\]$)")).size(), 1);

        const auto sources =
            std::get<0>(call<QList<ClientDataSource>>([&](auto cb) { return request.getDataSources(101, cb); }));
        QCOMPARE(sources.size(), 3);
        QCOMPARE(sources.at(2).type, QString("Disk & Image"));
        QCOMPARE(sources.at(2).sid, QString("S-13"));
        QCOMPARE(sources.at(2).url, QString("https://ds13.sim.invalid"));

        const auto devices = std::get<0>(
            call<QList<ProtectedDevice>>([&](auto cb) { return request.getDevices(13, "Disk & Image", 101, cb); }));
        QCOMPARE(devices.size(), 2);
        QCOMPARE(devices.at(0).id, 1301);
        QCOMPARE(devices.at(1).name, QString("IMG-HUGE-ID"));
        QCOMPARE(devices.at(1).id, 0); // 3000000000 does not fit

        const auto token = std::get<0>(call<DeviceToken>([&](auto cb) { return request.getDeviceToken(13, 1301, cb); }));
        QCOMPARE(token.url, m_sim->origin() + "/restore/1301");
        QCOMPARE(token.token, QString("device-token-1301-13"));
        QVERIFY(log.contains(QtDebugMsg, "Got token"));

        const auto phrase = std::get<0>(call<QString>([&](auto cb) { return request.getEncryptionPassphrase(1001, cb); }));
        QCOMPARE(phrase, QString("amber-falcon-42"));
        QVERIFY(log.contains(QtDebugMsg, "Got device passphrase"));

        // A client without data sources: "[]" is an empty list without the empty-body warning.
        const auto none =
            std::get<0>(call<QList<ClientDataSource>>([&](auto cb) { return request.getDataSources(201, cb); }));
        QVERIFY(none.isEmpty());
        QVERIFY(!log.contains("JSON data is empty."));

        QCOMPARE(request.clientName(), QString("partner"));
        QVERIFY(log.contains(QtInfoMsg, "Retrieving client name"));
    }

    // Replies that are not errors but carry nothing usable.
    void oddBodies_data()
    {
        QTest::addColumn<QStringList>("simArgs");
        QTest::addColumn<bool>("emptyWarning");
        QTest::newRow("empty body") << QStringList{"--fault-empty", "/vusk"} << true;
        QTest::newRow("malformed body") << QStringList{"--fault-malformed", "/vusk"} << false;
    }

    void oddBodies()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(bool, emptyWarning);
        CloudSim sim(simArgs);
        QVERIFY(sim.start());
        VuskRequest request(m_partner.get(), sim.vuskUrl());
        LogCapture log;
        QVERIFY(std::get<0>(call<QList<TmxClient>>([&](auto cb) { return request.getClients(cb); })).isEmpty());
        QVERIFY(std::get<0>(call<QList<ProtectedDevice>>([&](auto cb) {
                                return request.getDevices(1, "x", 2, cb);
                            })).isEmpty());
        const DeviceToken token = std::get<0>(call<DeviceToken>([&](auto cb) { return request.getDeviceToken(1, 2, cb); }));
        QVERIFY(token.url.isEmpty() && token.token.isEmpty());
        QVERIFY(std::get<0>(call<QString>([&](auto cb) { return request.getEncryptionPassphrase(2, cb); })).isEmpty());
        QCOMPARE(log.count("JSON data is empty."), emptyWarning ? 4 : 0);
    }

    void errors_data()
    {
        QTest::addColumn<QStringList>("simArgs");
        QTest::addColumn<QString>("token"); // empty: a token the simulator issued
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("replyLine");

        QTest::newRow("401 missing token") << QStringList{} << "none" << int(RequestError::AuthenticationError) << 204
                                           << "Reply error: AuthenticationRequiredError";
        QTest::newRow("401 foreign token") << QStringList{}
                                           << fakeToken(R"({"data":{"reseller_id":7,"username":"p"}})")
                                           << int(RequestError::AuthenticationError) << 204
                                           << "Reply error: AuthenticationRequiredError";
        QTest::newRow("401 expired token") << QStringList{"--token-expiry", "0"} << "" << int(RequestError::AuthenticationError)
                                           << 204 << "Reply error: AuthenticationRequiredError";
        QTest::newRow("500") << QStringList{"--fault-status", "/vusk/clients=500"} << "" << int(RequestError::ServerError)
                             << int(QNetworkReply::InternalServerError) << "Reply error: InternalServerError";
        QTest::newRow("404") << QStringList{"--fault-status", "/vusk=404"} << "" << int(RequestError::ServerError)
                             << int(QNetworkReply::ContentNotFoundError) << "Reply error: ContentNotFoundError";
        QTest::newRow("403") << QStringList{"--fault-status", "/vusk=403"} << "" << int(RequestError::ServerError)
                             << int(QNetworkReply::ContentAccessDenied) << "Reply error: ContentAccessDenied";
        QTest::newRow("connection refused") << QStringList{"refused"} << "" << int(RequestError::ServerError)
                                            << int(QNetworkReply::ConnectionRefusedError)
                                            << "Reply error: ConnectionRefusedError";
    }

    void errors()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(QString, token);
        QFETCH(int, kind);
        QFETCH(int, code);
        QFETCH(QString, replyLine);

        QString base;
        std::unique_ptr<CloudSim> sim;
        if (simArgs == QStringList{"refused"}) {
            base = QString("http://127.0.0.1:%1/vusk").arg(freePortNobodyListensOn());
        } else {
            sim = std::make_unique<CloudSim>(simArgs);
            QVERIFY(sim->start());
            base = sim->vuskUrl();
            if (token.isEmpty())
                token = sim->signIn("partner");
        }
        TmxAuth::AuthSession session(token == "none" ? QString() : token, m_config);
        VuskRequest request(&session, base);
        LogCapture log;
        const auto result = call<QList<TmxClient>>([&](auto cb) { return request.getClients(cb); });
        QCOMPARE(result.index(), size_t(1));
        const RequestError error = std::get<1>(result);
        QCOMPARE(int(error.kind), kind);
        QCOMPARE(error.code, code);
        QVERIFY(error.description.isEmpty());
        // The reply's own line comes first, then the operation's.
        const QStringList lines = log.texts().filter(QRegularExpression("^(Reply error|Request for client failed)"));
        QCOMPARE(lines, (QStringList{replyLine, "Request for client failed. Error: " + QString::number(code)}));
        QVERIFY(log.contains(QtCriticalMsg, "Request for client failed. Error: " + QString::number(code)));
    }

    void logRequestError_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("attemptsLeft");
        QTest::addColumn<QStringList>("lines");

        QTest::newRow("server, retries left")
            << int(RequestError::ServerError) << 401 << 3
            << QStringList{"Clients request returned error: type - ServerError, code - 401, description - "
                           "InternalServerError",
                           "Retrying attempts left: 3"};
        QTest::newRow("authentication, exhausted")
            << int(RequestError::AuthenticationError) << 204 << 0
            << QStringList{"Clients request returned error: type - AuthenticationError, code - 204, description - "
                           "AuthenticationRequiredError",
                           "Retrying attempts has been exhausted"};
        QTest::newRow("internal") << int(RequestError::InternalError) << 1 << 1
                                  << QStringList{"Clients request returned error: type - InternalError, code - 1, "
                                                 "description - ConnectionRefusedError",
                                                 "Retrying attempts left: 1"};
    }

    void logRequestError()
    {
        QFETCH(int, kind);
        QFETCH(int, code);
        QFETCH(int, attemptsLeft);
        QFETCH(QStringList, lines);
        RequestError error;
        error.kind = RequestError::Kind(kind);
        error.code = code;
        LogCapture log;
        VuskRequest::logRequestError("Clients request", error, attemptsLeft);
        QCOMPARE(log.texts(), lines);
        QCOMPARE(log.entries().last().type, attemptsLeft > 0 ? QtWarningMsg : QtCriticalMsg);
    }

    // Over TLS a certificate the console does not trust is a server error like any other transport failure.
    void tls_data()
    {
        QTest::addColumn<bool>("trusted");
        QTest::newRow("untrusted") << false;
        QTest::newRow("trusted") << true;
    }

    void tls()
    {
        QFETCH(bool, trusted);
        QTemporaryDir certs;
        QCOMPARE(QProcess::execute("bash", QStringList{CorvelTest::sourceDir() + "/scripts/make-certs", certs.path()}), 0);
        CloudSim sim({"--tls", certs.path()});
        QVERIFY(sim.start());
        QVERIFY(sim.origin().startsWith("https://127.0.0.1:"));
        const QString base = QString(sim.origin()).replace("127.0.0.1", "localhost") + "/vusk";

        const QSslConfiguration original = QSslConfiguration::defaultConfiguration();
        if (trusted) {
            QSslConfiguration config = original;
            config.addCaCertificates(certs.filePath("tolvex.crt"));
            QSslConfiguration::setDefaultConfiguration(config);
        }
        TmxAuth::AuthSession session(sim.signIn("partner"), m_config);
        VuskRequest request(&session, base);
        const auto result = call<QList<TmxClient>>([&](auto cb) { return request.getClients(cb); });
        QSslConfiguration::setDefaultConfiguration(original);
        if (trusted) {
            QCOMPARE(result.index(), size_t(0));
            QCOMPARE(std::get<0>(result).size(), 3);
        } else {
            QCOMPARE(result.index(), size_t(1));
            QCOMPARE(std::get<1>(result).kind, RequestError::ServerError);
            QCOMPARE(std::get<1>(result).code, int(QNetworkReply::SslHandshakeFailedError));
        }
    }

    void destroyedRequestNeverCallsBack()
    {
        CloudSim slow({"--fault-delay", "/vusk=300"});
        QVERIFY(slow.start());
        int calls = 0;
        {
            VuskRequest request(m_partner.get(), slow.vuskUrl());
            request.getClients([&](const Result<QList<TmxClient>>&) { ++calls; });
            QTest::qWait(50);
        }
        QTest::qWait(600);
        QCOMPARE(calls, 0);
    }
};

QTEST_GUILESS_MAIN(TestVuskRequest)
#include "tst_vusk_request.moc"
