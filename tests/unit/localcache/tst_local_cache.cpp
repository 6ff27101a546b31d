#include "json_reader.h"
#include "localcache/local_cache_check.h"
#include "mirel.h"
#include "repository_crypto.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace Corvel;

namespace {

const QString Passphrase = QStringLiteral("amber-falcon-42");

bool restic(const QStringList& arguments, const QString& password, const QString& newPassword = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("RESTIC_PASSWORD", password);
    environment.insert("RESTIC_CACHE_DIR", QDir::tempPath() + "/corvel-restic-cache");
    process.setProcessEnvironment(environment);
    QTemporaryDir scratch;
    const QString newPasswordFile = scratch.filePath("new");
    if (!newPassword.isNull()) {
        QFile file(newPasswordFile);
        if (!file.open(QIODevice::WriteOnly))
            return false;
        file.write(newPassword.toUtf8());
    }
    process.start("restic", arguments + (newPassword.isNull() ? QStringList{}
                                                              : QStringList{"--new-password-file", newPasswordFile}));
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& data)
{
    QFile file(path);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(data);
}

QStringList keyFiles(const QString& repository)
{
    QStringList files = QDir(repository + "/keys").entryList(QDir::Files, QDir::Name);
    for (QString& file : files)
        file = repository + "/keys/" + file;
    return files;
}

// Copies a repository folder (flat enough for restic's fresh repositories).
bool copyRepository(const QString& from, const QString& to)
{
    QProcess copy;
    copy.start("cp", {"-r", from, to});
    return copy.waitForFinished(10000) && copy.exitCode() == 0;
}

QByteArray mutate(const QByteArray& original, QRandomGenerator& random)
{
    QByteArray data = original;
    switch (random.bounded(4)) {
    case 0: // flip a byte
        if (!data.isEmpty())
            data[random.bounded(data.size())] = char(data[random.bounded(data.size())] ^ (1 << random.bounded(8)));
        break;
    case 1: // truncate
        data.truncate(random.bounded(data.size() + 1));
        break;
    case 2: // repeat a slice
        if (!data.isEmpty()) {
            const int at = random.bounded(data.size());
            data.insert(at, data.mid(at, random.bounded(32)));
        }
        break;
    default: // an odd byte anywhere
        data.insert(random.bounded(data.size() + 1), char(random.bounded(256)));
        break;
    }
    return data;
}

} // namespace

// Local caches made by the real restic, opened the way the wizard opens them.
class TestLocalCache : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    QString m_v1, m_v2, m_twoKeys, m_damagedConfig, m_empty;

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable("restic").isEmpty())
            QFAIL("restic is not installed (scripts/setup installs it)");
        QVERIFY(m_root.isValid());
        m_v1 = m_root.filePath("v1");
        m_v2 = m_root.filePath("v2");
        m_twoKeys = m_root.filePath("two-keys");
        m_damagedConfig = m_root.filePath("damaged-config");
        m_empty = m_root.filePath("empty");
        QVERIFY(restic({"init", "--repo", m_v1, "--repository-version", "1"}, Passphrase));
        QVERIFY(restic({"init", "--repo", m_v2, "--repository-version", "2"}, Passphrase));
        QVERIFY(copyRepository(m_v2, m_twoKeys));
        QVERIFY(restic({"key", "add", "--repo", m_twoKeys}, Passphrase, Passphrase));
        QVERIFY(copyRepository(m_v1, m_damagedConfig));
        QByteArray config = readAll(m_damagedConfig + "/config");
        config[20] = char(config[20] ^ 0x01);
        writeAll(m_damagedConfig + "/config", config);
        QVERIFY(QDir().mkpath(m_empty));

        // The first key file (in name order) gets a broken authenticator; the other still opens.
        const QStringList keys = keyFiles(m_twoKeys);
        QCOMPARE(keys.size(), 2);
        QByteArray key = readAll(keys.first());
        const int data = key.indexOf("\"data\":\"") + 8;
        const int end = key.indexOf('"', data);
        QByteArray sealed = QByteArray::fromBase64(key.mid(data, end - data));
        sealed[sealed.size() - 1] = char(sealed[sealed.size() - 1] ^ 0x80);
        key.replace(data, end - data, sealed.toBase64());
        writeAll(keys.first(), key);
    }

    void results_data()
    {
        QTest::addColumn<QString>("repository");
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<bool>("writable");
        QTest::addColumn<int>("result");
        QTest::newRow("format 1") << "v1" << Passphrase << true << 0;
        QTest::newRow("format 2") << "v2" << Passphrase << true << 0;
        QTest::newRow("read-only location") << "v2" << Passphrase << false << 1;
        QTest::newRow("wrong passphrase") << "v1"
                                          << "amber-falcon-43" << true << 4;
        QTest::newRow("empty passphrase") << "v1"
                                          << "" << true << 3;
        QTest::newRow("empty folder") << "empty" << Passphrase << true << 5;
        QTest::newRow("missing path") << "missing" << Passphrase << true << 2;
        QTest::newRow("damaged config") << "damaged-config" << Passphrase << true << 5;
        QTest::newRow("broken key skipped") << "two-keys" << Passphrase << true << 0;
    }

    void results()
    {
        QFETCH(QString, repository);
        QFETCH(QString, passphrase);
        QFETCH(bool, writable);
        QFETCH(int, result);
        int writeTests = 0;
        const std::int32_t got = checkLocalCache(m_root.filePath(repository).toStdString(), "", "",
                                                 passphrase.toStdString(), [&](const std::string& path) {
                                                     ++writeTests;
                                                     return writable && canWriteIn(path);
                                                 });
        QCOMPARE(int(got), result);
        QCOMPARE(writeTests, result <= 1 ? 1 : 0);
    }

    // The command an operator runs: the result in words, the library's errors, the exit status,
    // and the passphrase never from the command line.
    void command_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("environmentPassphrase");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::newRow("passphrase from the environment") << QStringList{"check", "v1"} << Passphrase << 0
                                                         << "0: the local cache opened and its folder is writable\n";
        QTest::newRow("passphrase from a file") << QStringList{"check", "v2", "--passphrase-file", "PASSFILE"}
                                                << QString() << 0 << "0: the local cache opened";
        QTest::newRow("none given") << QStringList{"check", "v1"} << QString() << 3
                                    << "Mirel error: cannot add a keyring slot: the ckms secret is empty\n3: ";
        QTest::newRow("missing path: nothing opened")
            << QStringList{"check", "missing"} << Passphrase << 2 << "Mirel error: cannot reach the local cache at ";
        QTest::newRow("no repository") << QStringList{"check", "empty"} << Passphrase << 5
                                       << "Mirel error: no repository at ";
        QTest::newRow("secret on the command line")
            << QStringList{"check", "v1", "--passphrase", "x"} << Passphrase << 64 << "";
        QTest::newRow("help") << QStringList{"--help"} << QString() << 0 << "usage: corvel-cache check PATH";
    }

    void command()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, environmentPassphrase);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        const QString passFile = m_root.filePath("passphrase.txt");
        writeAll(passFile, Passphrase.toUtf8() + "\n");
        for (QString& argument : arguments) {
            if (argument == "PASSFILE")
                argument = passFile;
            else if (QStringList{"v1", "v2", "empty", "missing"}.contains(argument))
                argument = m_root.filePath(argument);
        }
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove("CORVEL_CACHE_PASSPHRASE");
        if (!environmentPassphrase.isEmpty())
            environment.insert("CORVEL_CACHE_PASSPHRASE", environmentPassphrase);
        process.setProcessEnvironment(environment);
        process.start(qEnvironmentVariable("CORVEL_BIN_DIR") + "/corvel-cache", arguments);
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitCode(), exitCode);
        const QString out = QString::fromUtf8(process.readAllStandardOutput());
        QVERIFY2(output.isEmpty() ? out.isEmpty() : out.startsWith(output), qPrintable(out));
        QVERIFY(!out.contains(Passphrase));
        if (output.startsWith("Mirel error: cannot reach"))
            QCOMPARE(out.count("Mirel error: "), 1);
    }

    // Hostile key files and configs: every mutation ends in an answer, never a crash or a hang.
    void mutations()
    {
        const QByteArray key = readAll(keyFiles(m_v1).first());
        std::string problem;
        const std::optional<Mirel::Keys> keys =
            Mirel::openKeyFile(key.toStdString(), Passphrase.toStdString(), problem);
        QVERIFY2(keys, problem.c_str());
        const QByteArray config = readAll(m_v1 + "/config");
        const std::optional<std::string> plain = Mirel::decrypt(config.toStdString(), *keys, problem);
        QVERIFY(plain);
        QCOMPARE(Mirel::configVersion(*plain, problem), std::optional<int>(1));

        // Cheap derivation, so that thousands of mutants stay quick; the MAC then fails, as it must.
        const QByteArray cheapKey = QString::fromUtf8(key)
                                        .replace(QRegularExpression("\"N\":\\d+"), "\"N\":1024")
                                        .replace(QRegularExpression("\"p\":\\d+"), "\"p\":1")
                                        .toUtf8();
        QRandomGenerator random(20261124);
        int opened = 0;
        for (int i = 0; i < 3000; ++i) {
            const QByteArray mutant = mutate(cheapKey, random);
            if (Mirel::openKeyFile(mutant.toStdString(), Passphrase.toStdString(), problem))
                ++opened;
            const QByteArray configMutant = mutate(config, random);
            if (configMutant != config && Mirel::decrypt(configMutant.toStdString(), *keys, problem))
                ++opened;
            Mirel::configVersion(mutate(QByteArray::fromStdString(*plain), random).toStdString(), problem);
        }
        QCOMPARE(opened, 0);

        // Parameters that would cost gigabytes or minutes are refused before any work. The last two
        // stay within the memory bound and exceed the work bound only through p or through r.
        const struct {
            const char *n, *r, *p;
        } hostile[] = {{"1073741824", "8", "1"}, {"1000", "8", "1"},   {"-32768", "8", "1"},
                       {"32768.5", "8", "1"},    {"65536", "8", "64"}, {"16384", "64", "32"}};
        for (const auto& parameters : hostile) {
            // restic sizes N to the machine it runs on: whatever it chose is replaced.
            const QString text = QString::fromUtf8(key)
                                     .replace(QRegularExpression("\"N\":\\d+"), QString("\"N\":") + parameters.n)
                                     .replace(QRegularExpression("\"r\":\\d+"), QString("\"r\":") + parameters.r)
                                     .replace(QRegularExpression("\"p\":\\d+"), QString("\"p\":") + parameters.p);
            QVERIFY(!Mirel::openKeyFile(text.toStdString(), Passphrase.toStdString(), problem));
            // Refused as such, not by the MAC after the whole derivation.
            QVERIFY2(QString::fromStdString(problem).contains(QRegularExpression("^(scrypt parameters out of range|"
                                                                                 "malformed key file)")),
                     qPrintable(QString("N=%1 r=%2 p=%3: %4")
                                    .arg(parameters.n, parameters.r, parameters.p, QString::fromStdString(problem))));
        }
        Mirel::Keys shortMac = *keys; // keys of the wrong size are refused before any use
        shortMac.macR.resize(8);
        QVERIFY(!Mirel::decrypt(config.toStdString(), shortMac, problem));
        QCOMPARE(QString::fromStdString(problem), QString("unusable keys"));
        QVERIFY(!Mirel::openKeyFile(std::string(70000, ' ') + key.toStdString(), Passphrase.toStdString(), problem));
        QCOMPARE(QString::fromStdString(problem), QString("key file too large"));
        QVERIFY(!Mirel::parseJson(std::string(100, '[') + std::string(100, ']'), problem));
    }

    // The C interface hands back what it promised on every path.
    void errorsPrintAsOneTruncatedLine()
    {
        mirel_keyring* keyring = mirel_keyring_create();
        for (const char* bad : {"ckms", "=secret", "ckms=", "other=secret"}) {
            mirel_error* error = mirel_keyring_add_slot(keyring, bad);
            QVERIFY2(error, bad);
            char small[8];
            const size_t length = mirel_error_print(error, small, sizeof small);
            QVERIFY(length > sizeof small);
            QCOMPARE(qstrlen(small), size_t(7));
            mirel_error_free(error);
        }
        QVERIFY(!mirel_keyring_add_slot(keyring, "ckms=a=b"));
        mirel_keyring_free(keyring);
        mirel_repository* repository = reinterpret_cast<mirel_repository*>(1);
        mirel_error* error = mirel_builder_open(mirel_builder_path(mirel_builder_new(), m_empty.toUtf8()), &repository);
        QVERIFY(error);
        QVERIFY(!repository);
        mirel_error_free(error);
    }
};

QTEST_GUILESS_MAIN(TestLocalCache)
#include "tst_local_cache.moc"
