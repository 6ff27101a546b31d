#include "localcache/local_cache_check.h"
#include "repository_crypto.h"

#include <QtTest>

using namespace Corvel;

namespace {

const QString Passphrase = QStringLiteral("amber-falcon-42");

bool run(const QString& program, const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("RESTIC_PASSWORD", Passphrase);
    environment.insert("RESTIC_CACHE_DIR", QDir::tempPath() + "/corvel-restic-cache");
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
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

QString firstKeyFile(const QString& repository)
{
    return repository + "/keys/" + QDir(repository + "/keys").entryList(QDir::Files, QDir::Name).value(0);
}

// restic sizes the key's scrypt parameters to the machine it runs on: whatever it chose is replaced.
QByteArray withScrypt(QByteArray key, const QString& n, const QString& r, const QString& p)
{
    for (const auto& [name, value] : {std::pair{"N", n}, {"r", r}, {"p", p}})
        key = QString::fromUtf8(key)
                  .replace(QRegularExpression(QString("\"%1\":\\d+").arg(name)), QString("\"%1\":%2").arg(name, value))
                  .toUtf8();
    return key;
}

} // namespace

// Local caches made by the real restic, opened the way the wizard opens them.
class TestLocalCache : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_root;
    std::optional<Mirel::Keys> m_keys;

    QString at(const QString& name) const { return m_root.filePath(name); }

private slots:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable("restic").isEmpty())
            QFAIL("restic is not installed (scripts/setup installs it)");
        QVERIFY(m_root.isValid());
        QVERIFY(run("restic", {"init", "--repo", at("v1"), "--repository-version", "1"}));
        QVERIFY(run("restic", {"init", "--repo", at("v2"), "--repository-version", "2"}));
        QVERIFY(run("cp", {"-r", at("v1"), at("damaged-config")}));
        QByteArray config = readAll(at("damaged-config/config"));
        config[20] = char(config[20] ^ 0x01);
        writeAll(at("damaged-config/config"), config);
        QVERIFY(QDir().mkpath(at("empty")));

        // A key file with a broken authenticator, first in name order; the real one still opens.
        QVERIFY(run("cp", {"-r", at("v2"), at("two-keys")}));
        QByteArray key = readAll(firstKeyFile(at("two-keys")));
        const int data = key.indexOf("\"data\":\"") + 8;
        const int end = key.indexOf('"', data);
        QByteArray sealed = QByteArray::fromBase64(key.mid(data, end - data));
        sealed[sealed.size() - 1] = char(sealed[sealed.size() - 1] ^ 0x80);
        writeAll(at("two-keys/keys/00"), key.replace(data, end - data, sealed.toBase64()));

        std::string problem;
        m_keys = Mirel::openKeyFile(readAll(firstKeyFile(at("v1"))).toStdString(), Passphrase.toStdString(), problem);
        QVERIFY2(m_keys, problem.c_str());
    }

    void results_data()
    {
        QTest::addColumn<QString>("repository");
        QTest::addColumn<QString>("passphrase");
        QTest::addColumn<bool>("writable");
        QTest::addColumn<int>("result");
        QTest::newRow("format 1") << "v1" << Passphrase << true << 0;
        QTest::newRow("format 2, read-only location") << "v2" << Passphrase << false << 1;
        QTest::newRow("wrong passphrase") << "v1"
                                          << "amber-falcon-43" << true << 4;
        QTest::newRow("empty folder") << "empty" << Passphrase << true << 5;
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
        const std::int32_t got = checkLocalCache(at(repository).toStdString(), "", "", passphrase.toStdString(),
                                                 [&](const std::string& path) {
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
        QTest::newRow("missing path: one error")
            << QStringList{"check", "missing"} << Passphrase << 2 << "Mirel error: cannot reach the local cache at ";
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
        writeAll(at("passphrase.txt"), Passphrase.toUtf8() + "\n");
        for (QString& argument : arguments)
            if (argument == "PASSFILE" || QStringList{"v1", "v2", "missing"}.contains(argument))
                argument = at(argument == "PASSFILE" ? "passphrase.txt" : argument);
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
        QVERIFY(out.count("Mirel error: ") <= 1);
    }

    // Hostile key files and configs are refused with their reason, before any costly or unsafe work.
    void hostileInput_data()
    {
        QTest::addColumn<bool>("isKey");
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<int>("macRBytes");
        QTest::addColumn<QString>("error");
        const QByteArray key = readAll(firstKeyFile(at("v1")));
        const QByteArray config = readAll(at("v1/config"));
        const QString outOfRange = "scrypt parameters out of range";
        QTest::newRow("N of a gigabyte") << true << withScrypt(key, "1073741824", "8", "1") << 16 << outOfRange;
        QTest::newRow("N fractional") << true << withScrypt(key, "32768.5", "8", "1") << 16
                                      << "malformed key file: missing or mistyped scrypt parameters";
        // Within the memory bound, past the work bound only through p or through r.
        QTest::newRow("work through p") << true << withScrypt(key, "65536", "8", "64") << 16 << outOfRange;
        QTest::newRow("work through r") << true << withScrypt(key, "16384", "64", "32") << 16 << outOfRange;
        QTest::newRow("key file too large") << true << QByteArray(70000, ' ') + key << 16 << "key file too large";
        QTest::newRow("config shorter than IV and MAC")
            << false << config.left(31) << 16 << "too short to be encrypted data";
        QTest::newRow("config tag flipped") << false << config.left(config.size() - 1) + char(config.back() ^ 1) << 16
                                            << "authentication failed (wrong key or damaged data)";
        QTest::newRow("keys of the wrong size") << false << config << 8 << "unusable keys";
    }

    void hostileInput()
    {
        QFETCH(bool, isKey);
        QFETCH(QByteArray, input);
        QFETCH(int, macRBytes);
        QFETCH(QString, error);
        std::string problem;
        Mirel::Keys keys = *m_keys;
        keys.macR.resize(size_t(macRBytes));
        const bool opened = isKey ? bool(Mirel::openKeyFile(input.toStdString(), Passphrase.toStdString(), problem))
                                  : bool(Mirel::decrypt(input.toStdString(), keys, problem));
        QCOMPARE(opened, error.isEmpty());
        QVERIFY2(QString::fromStdString(problem).startsWith(error), problem.c_str());
    }
};

QTEST_GUILESS_MAIN(TestLocalCache)
#include "tst_local_cache.moc"
