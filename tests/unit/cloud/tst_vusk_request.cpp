#include "auth/sign_in_flows.h"
#include "cloud/cloud_call_retry.h"
#include "cloud/vusk_request.h"
#include "core/settings.h"
#include "testsupport/cloud_sim.h"
#include "testsupport/log_capture.h"
#include "testsupport/peak_rss.h"
#include "testsupport/test_tokens.h"
#include "widgets/message_box.h"

#include <QNetworkReply>
#include <QTimer>
#include <QtTest>

#include <functional>

using namespace TmxAuth;
using namespace VuskAPI;
using CorvelTest::CloudSim;
using CorvelTest::LogCapture;
using CorvelTest::PeakRss;
using CorvelWidgets::MessageBox;

namespace {

// One line per record, the fields a caller reads.
struct Text {
    static QString of(const TmxClient& c) { return QString("%1 %2 %3").arg(c.id).arg(c.username, c.name); }
    static QString of(const ClientDataSource& d) { return QString("%1 %2 %3 %4").arg(d.id).arg(d.sid, d.type, d.url); }
    static QString of(const ProtectedDevice& d) { return QString("%1 %2").arg(d.id).arg(d.name); }
    static QString of(const DeviceToken& t) { return (t.url + " " + t.token).trimmed(); }
    static QString of(const QString& passphrase) { return passphrase; }
    template <typename T> static QString of(const QList<T>& list)
    {
        QStringList out;
        for (const T& item : list)
            out << of(item);
        return out.join(", ");
    }
};

struct Outcome {
    QString value;
    std::optional<RequestError> error;
};

// Runs one operation and waits for its callback, which must come exactly once.
template <typename T> Outcome call(std::function<void(Callback<T>)> operation)
{
    Outcome out;
    int calls = 0;
    operation([&](const Result<T>& r) {
        ++calls;
        if (r.index() == 0)
            out.value = Text::of(std::get<0>(r));
        else
            out.error = std::get<1>(r);
    });
    (void)QTest::qWaitFor([&] { return calls > 0; }, 20000);
    QTest::qWait(20); // a second invocation would show up here
    if (calls != 1)
        qFatal("callback invoked %d times", calls);
    return out;
}

// "clients", "datasources CLIENT", "devices", "token" or "passphrase".
Outcome run(VuskRequest& r, const QString& operation)
{
    if (operation == "clients")
        return call<QList<TmxClient>>([&](auto cb) { r.getClients(cb); });
    if (operation.startsWith("datasources"))
        return call<QList<ClientDataSource>>([&](auto cb) { r.getDataSources(operation.mid(12).toULongLong(), cb); });
    if (operation == "devices")
        return call<QList<ProtectedDevice>>([&](auto cb) { r.getDevices(13, "Disk & Image", 101, cb); });
    if (operation == "token")
        return call<DeviceToken>([&](auto cb) { r.getDeviceToken(13, 1301, cb); });
    return call<QString>([&](auto cb) { r.getEncryptionPassphrase(1001, cb); });
}

// The policy as the console wires it: the sign-in flows for a new token, their box for an error.
CloudCallRetry consolePolicy(AuthSession& session, int retries, const QString& authUrl, const TokenSource& source = {})
{
    return CloudCallRetry(
        retries, [&session, authUrl, source] { return reSignInAfterTimeout(session, authUrl, nullptr, source) == 0; },
        [](const RequestError& error) { showRequestError(nullptr, error); });
}

QStringList boxes()
{
    QStringList out;
    for (const auto& box : MessageBox::shown())
        out << box.title + "/" + box.text;
    return out;
}

} // namespace

class TestVuskRequest : public QObject {
    Q_OBJECT

    CloudSim m_sim;
    std::unique_ptr<AuthSession> m_partner;

private slots:
    void initTestCase()
    {
        QVERIFY(m_sim.start());
        m_partner = std::make_unique<AuthSession>(m_sim.signIn("partner"));
        QVERIFY(m_partner->isValid());
    }

    // What goes over the wire, exactly as the simulator received it, and what comes back.
    void operations_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("requestLine");
        QTest::addColumn<QString>("value"); // %1: the simulator's origin

        const auto row = [](const char* name, const char* operation, const char* request, const char* value) {
            QTest::newRow(name) << QString(operation) << QString("GET /vusk/%1 200").arg(request) << QString(value);
        };
        row("no data sources: []", "datasources 201", "datasources?client_id=201", "");
        row("devices, type verbatim, too large an id", "devices",
            "devices?datasource_id=13&datasource_type=Disk%20&%20Image&client_id=101", "1301 IMG-NODE, 0 IMG-HUGE-ID");
        row("device token", "token", "devices/1301/get_token?datasource_id=13", "%1/restore/1301 device-token-1301-13");
        row("passphrase", "passphrase", "devices/1001/encryption_passphrase", "amber-falcon-42");
    }

    void operations()
    {
        QFETCH(QString, operation);
        QFETCH(QString, requestLine);
        QFETCH(QString, value);

        VuskRequest request(m_partner.get(), m_sim.vuskUrl());
        LogCapture log;
        const int before = m_sim.requests().size();
        const Outcome outcome = run(request, operation);
        QVERIFY(!outcome.error);
        QCOMPARE(outcome.value, value.replace("%1", m_sim.origin()));
        QCOMPARE(m_sim.requests().mid(before), QStringList{requestLine});
        const QString all = log.texts().join('\n');
        QVERIFY(!all.contains(m_partner->token()) && !all.contains("amber-falcon-42") &&
                !all.contains("device-token-"));
    }

    // Failures, and replies that are not errors but carry nothing usable (kind -1: empty values). Memory stays bounded
    // whatever the size on the wire or once inflated.
    void badReplies_data()
    {
        QTest::addColumn<QStringList>("simArgs"); // empty: nobody listens
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("httpStatus");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("logged");

        const int server = RequestError::ServerError, unknown = QNetworkReply::UnknownContentError;
        const QString tooLarge = "Reply is too large: more than 16777216 bytes", none;
        QTest::newRow("not an array") << QStringList{"--fault-status", "/vusk=200"} << -1 << 0 << 0 << none << none;
        QTest::newRow("401") << QStringList{"--token-expiry", "0"} << int(RequestError::AuthenticationError) << 204
                             << 401 << "Unauthorized" << none;
        QTest::newRow("500") << QStringList{"--fault-status", "/vusk/clients=500"} << server
                             << int(QNetworkReply::InternalServerError) << 500 << "Internal Server Error" << none;
        QTest::newRow("connection refused")
            << QStringList() << server << int(QNetworkReply::ConnectionRefusedError) << 0 << none << none;
        QTest::newRow("redirection") << QStringList{"--fault-status", "/vusk/clients=302"} << server
                                     << int(QNetworkReply::ProtocolFailure) << 0 << none
                                     << "Reply is a redirection (HTTP 302), which is not followed";
        QTest::newRow("1 MB of gzip inflating to 1 GiB")
            << QStringList{"--fault-inflate", "/vusk/clients=1073741824"} << server << unknown << 0 << none << tooLarge;
    }

    void badReplies()
    {
        QFETCH(QStringList, simArgs);
        QFETCH(int, kind);
        QFETCH(int, code);
        QFETCH(int, httpStatus);
        QFETCH(QString, reason);
        QFETCH(QString, logged);

        CloudSim sim(simArgs);
        QVERIFY(simArgs.isEmpty() || sim.start());
        AuthSession session(simArgs.isEmpty() ? QString() : sim.signIn("partner"));
        VuskRequest request(&session, simArgs.isEmpty() ? "http://127.0.0.1:1/vusk" : sim.vuskUrl());
        const PeakRss peak;
        LogCapture log;
        const Outcome outcome = run(request, "clients");
        const qint64 growth = peak.growth();
        QCOMPARE(outcome.value, QString());
        QCOMPARE(bool(outcome.error), kind >= 0);
        if (kind < 0)
            return;
        QCOMPARE(int(outcome.error->kind), kind);
        QCOMPARE(outcome.error->code, code);
        QVERIFY(outcome.error->description.isEmpty());
        QCOMPARE(outcome.error->httpStatus, httpStatus);
        QCOMPARE(outcome.error->reason, reason);
        const QString name = QString::fromLatin1(QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(code));
        const QStringList tail{"Reply error: " + name, "Request for client failed. Error: " + QString::number(code)};
        QVERIFY2(log.texts().mid(log.texts().size() - 2) == tail, qPrintable(log.texts().join('\n')));
        QVERIFY2(logged.isEmpty() || log.texts().contains(logged), qPrintable(log.texts().join('\n')));
        QVERIFY2(!peak.available() || growth < 48 * 1024 * 1024, qPrintable(QString::number(growth)));
    }

    // Documents nested or repeated beyond the limits read as malformed ones: empty values.
    void boundedParsing_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("records");
        QTest::addColumn<QString>("logged");
        const QByteArray records = "[" + QByteArray("{},").repeated(99999) + "{}";
        // The array is the first level, each record the second.
        const auto nested = [](int arrays) {
            return "[{\"id_\": 1, \"x\": " + QByteArray(arrays, '[') + QByteArray(arrays, ']') + "}]";
        };
        QTest::newRow("100000 records") << records + "]" << 100000 << "";
        QTest::newRow("100001 records") << records + ",{}]" << 0
                                        << "JSON list of 100001 records is longer than 100000; it is ignored";
        QTest::newRow("64 levels") << nested(62) << 1 << "";
        QTest::newRow("65 levels") << nested(63) << 0 << "JSON nested deeper than 64 levels";
    }

    void boundedParsing()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, records);
        QFETCH(QString, logged);
        LogCapture log;
        QCOMPARE(parseClients(body).size(), records);
        QCOMPARE(log.texts(), logged.isEmpty() ? QStringList() : QStringList{logged});
    }

    void init()
    {
        MessageBox::setAutoAnswer(true);
        MessageBox::clearShown();
    }

    // Calls answered from the event loop: `failures` errors, then 42.
    void serverAndInternalErrors_data()
    {
        QTest::addColumn<int>("retries"); // -1: the configured default
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("failures");
        QTest::addColumn<int>("httpStatus"); // 0: no server answered
        QTest::addColumn<QString>("shown");

        const int server = RequestError::ServerError;
        const QString serverBox = "Server Error/Error code: 7\nPlease check your internet connection and try again";
        QTest::newRow("default, failing for good") << -1 << server << 100 << 0 << serverBox;
        QTest::newRow("server answered 500")
            << 0 << server << 100 << 500
            << "Server Error/Error code: 7\nHTTP status: 500, reason: Internal Server Error\nPlease try again later";
        QTest::newRow("recovers on the last retry") << 2 << server << 2 << 0 << QString();
        QTest::newRow("internal error") << 2 << int(RequestError::InternalError) << 100 << 0
                                        << "Internal Error/Internal error: no space left";
    }

    void serverAndInternalErrors()
    {
        QFETCH(int, retries);
        QFETCH(int, kind);
        QFETCH(int, failures);
        QFETCH(int, httpStatus);
        QFETCH(QString, shown);
        AuthSession session(partnerToken());
        const int allowed = retries < 0 ? Corvel::Settings().connectionRetriesNumber() : retries;
        CloudCallRetry retry = consolePolicy(session, allowed, QString());
        LogCapture log;
        const RequestError error{RequestError::Kind(kind), 7, "no space left", httpStatus,
                                 httpStatus ? "Internal Server Error" : ""};
        int calls = 0, value = 0, failed = 0;
        retry.run<int>(
            "Passphrase request",
            [&](Callback<int> cb) {
                const Result<int> result = calls++ < failures ? Result<int>(error) : Result<int>(42);
                QTimer::singleShot(0, [=] { cb(result); });
            },
            [&](const int& v) { value = v; }, [&](const RequestError&) { ++failed; });
        QVERIFY(QTest::qWaitFor([&] { return value == 42 || failed; }, 5000));
        QTest::qWait(20);
        QCOMPARE(calls, qMin(failures, allowed) + 1);
        QCOMPARE(failed, shown.isEmpty() ? 0 : 1);
        QCOMPARE(boxes(), shown.isEmpty() ? QStringList() : QStringList{shown});
        QCOMPARE(retry.used(), 0); // the next call starts with every retry again
        QStringList retryLines;    // one per failure: what is left, down to none
        for (int left = allowed; left > allowed - qMin(failures, calls); --left)
            retryLines << (left > 0 ? QString("Retrying attempts left: %1").arg(left)
                                    : QString("Retrying attempts has been exhausted"));
        QCOMPARE(log.texts().filter("Retrying attempts"), retryLines);
    }

    // An expired token: re-sign-in, then the same request again with the new token; no retry used.
    void authenticationRepeatsWithNewToken()
    {
        CloudSim sim({"--token-expiry", "1"});
        QVERIFY(sim.start());
        AuthSession session(sim.signIn("partner"));
        VuskRequest request(&session, sim.vuskUrl());
        QString fresh;
        QStringList asked;
        CloudCallRetry retry =
            consolePolicy(session, 5, sim.authUrl(),
                          [&](const QString& authUrl, const QString& logoutUrl, QWidget*) -> std::optional<QString> {
                              asked << authUrl + "|" + logoutUrl;
                              return fresh = sim.signIn("partner");
                          });
        int clients = 0;
        for (int round = 1; round <= 2; ++round) { // the first uses the token's only request
            retry.run<QList<TmxClient>>(
                "Clients request", [&request](Callback<QList<TmxClient>> cb) { request.getClients(cb); },
                [&](const QList<TmxClient>& list) { clients += list.size(); });
            QVERIFY(QTest::qWaitFor([&] { return clients == 6 * round; }, 30000));
            QCOMPARE(asked.size(), round - 1);
        }
        QCOMPARE(asked, QStringList{sim.authUrl() + "|"});
        QCOMPARE(session.token(), fresh);
        QCOMPARE(sim.requests().filter("/vusk/"),
                 QStringList({"GET /vusk/clients?partner_id=7 200", "GET /vusk/clients?partner_id=7 401",
                              "GET /vusk/clients?partner_id=7 200"}));
        // Only the time-out notice: an authentication error itself is not shown.
        QCOMPARE(boxes(), QStringList{"Authentication Error/Your session has timed out. Please login again."});
        QCOMPARE(retry.used(), 0);
    }
};

QTEST_MAIN(TestVuskRequest)
#include "tst_vusk_request.moc"
