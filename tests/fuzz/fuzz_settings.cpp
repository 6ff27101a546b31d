// The configuration loader: config.json as it lies on disk, then every typed getter.
#include "fuzz_qt.h"

#include "core/settings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CorvelFuzz::quietQt();
    // A memory-backed folder where there is one: a write to disk per input costs milliseconds.
    static QTemporaryDir folder(QFileInfo(QStringLiteral("/dev/shm")).isWritable()
                                    ? QStringLiteral("/dev/shm/corvel-fuzz-XXXXXX")
                                    : QDir::tempPath() + QStringLiteral("/corvel-fuzz-XXXXXX"));
    static const QString path = folder.filePath(QStringLiteral("config.json"));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    const std::optional<Corvel::Settings> settings = Corvel::loadSettings(path);
    if (settings) {
        (void)settings->useSoftwareOpengl();
        (void)settings->disableServicesAutostart();
        (void)settings->authUrl();
        (void)settings->updateUrl();
        (void)settings->vuskUrl();
        (void)settings->connectionRetriesNumber();
        (void)settings->bmrUrl();
    }
    return 0;
}
