// The certificate-name rule of the service connection, decision by decision.

#include "service/client_access_manager.h"

#include <QtTest>

using CorvelService::ClientAccessManager;
using apache::thrift::transport::AccessManager;

Q_DECLARE_METATYPE(AccessManager::Decision)

class TestClientAccessManager : public QObject {
    Q_OBJECT

private slots:
    void dnsName_data();
    void dnsName();
    void addresses_data();
    void addresses();
};

void TestClientAccessManager::dnsName_data()
{
    QTest::addColumn<QByteArray>("expectedHost");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<AccessManager::Decision>("decision");

    const auto allow = AccessManager::ALLOW;
    const auto deny = AccessManager::DENY;
    QTest::newRow("exact") << QByteArray("localhost") << QByteArray("localhost") << allow;
    QTest::newRow("lone asterisk") << QByteArray("localhost") << QByteArray("*") << allow;
    QTest::newRow("asterisk and tail") << QByteArray("localhost") << QByteArray("*host") << allow;
    QTest::newRow("asterisk and whole host") << QByteArray("localhost") << QByteArray("*localhost") << allow;
    QTest::newRow("plain tail") << QByteArray("localhost") << QByteArray("host") << allow;
    QTest::newRow("prefix before asterisk ignored") << QByteArray("localhost") << QByteArray("foo.*calhost") << allow;
    QTest::newRow("wildcard of another domain") << QByteArray("localhost") << QByteArray("*.example.com") << deny;
    QTest::newRow("wildcard subdomain of host") << QByteArray("localhost") << QByteArray("*.localhost") << deny;
    QTest::newRow("longer than host") << QByteArray("localhost") << QByteArray("xlocalhost") << deny;
    QTest::newRow("head, not tail") << QByteArray("localhost") << QByteArray("local") << deny;
    QTest::newRow("case differs") << QByteArray("localhost") << QByteArray("LOCALHOST") << deny;
    QTest::newRow("second asterisk is literal") << QByteArray("localhost") << QByteArray("**host") << deny;
    QTest::newRow("no expected host") << QByteArray() << QByteArray("*.example.com") << allow;
}

void TestClientAccessManager::dnsName()
{
    QFETCH(QByteArray, expectedHost);
    QFETCH(QByteArray, name);
    QFETCH(AccessManager::Decision, decision);

    ClientAccessManager manager(expectedHost.toStdString());
    // The host the library passes is the socket's; the manager decides on its own expected host.
    QCOMPARE(manager.verify(std::string("127.0.0.1"), name.constData(), name.size()), decision);
}

void TestClientAccessManager::addresses_data()
{
    QTest::addColumn<QByteArray>("expectedHost");
    QTest::addColumn<AccessManager::Decision>("peerAddress");
    QTest::addColumn<AccessManager::Decision>("certificateAddress");

    // A decision on the peer address would end the library's check before the names are read.
    QTest::newRow("expected host") << QByteArray("localhost") << AccessManager::SKIP << AccessManager::SKIP;
    QTest::newRow("no expected host") << QByteArray() << AccessManager::SKIP << AccessManager::ALLOW;
}

void TestClientAccessManager::addresses()
{
    QFETCH(QByteArray, expectedHost);
    QFETCH(AccessManager::Decision, peerAddress);
    QFETCH(AccessManager::Decision, certificateAddress);

    ClientAccessManager manager(expectedHost.toStdString());
    sockaddr_storage address{};
    const char ip[4] = {127, 0, 0, 1};
    QCOMPARE(manager.verify(address), peerAddress);
    QCOMPARE(manager.verify(address, ip, 4), certificateAddress);
}

QTEST_GUILESS_MAIN(TestClientAccessManager)
#include "tst_client_access_manager.moc"
