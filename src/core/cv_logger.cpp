#include "core/cv_logger.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QMutexLocker>
#include <QThread>

#include <cstdio>
#include <limits>

namespace Corvel {

namespace {

std::unique_ptr<CvLogger> g_logger;

// The part of this file's compile-time path before "src/app/cv_logger.cpp": stripped from
// message source paths so that lines show project-relative files.
QByteArray computeSourceRoot()
{
    QByteArray path(__FILE__);
    for (const char* suffix : {"src/app/cv_logger.cpp", "src\\app\\cv_logger.cpp"}) {
        const int at = path.lastIndexOf(suffix);
        if (at >= 0)
            return path.left(at);
    }
    return QByteArray();
}

} // namespace

CvLogger::CvLogger(QtMsgType minimumLevel, QByteArray sourceRoot, std::unique_ptr<QFile> file, quint64 rotationSize)
    : m_minimumLevel(minimumLevel)
    , m_sourceRoot(std::move(sourceRoot))
    , m_file(std::move(file))
    , m_stderr(stderr)
    , m_fileStream(m_file.get())
    , m_rotationSize(rotationSize)
{
    m_stderr.setCodec("UTF-8");
    m_fileStream.setCodec("UTF-8");
}

CvLogger::~CvLogger() = default;

bool CvLogger::init(QtMsgType minimumLevel, const QString& folder, const QString& fileName, quint64 rotationSize)
{
    if (!QDir(folder).mkpath(QStringLiteral(".")))
        return false;
    auto file = std::make_unique<QFile>(folder + "/" + fileName);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    qInstallMessageHandler(nullptr);
    g_logger.reset(new CvLogger(minimumLevel, computeSourceRoot(), std::move(file), rotationSize));
    qInstallMessageHandler(&CvLogger::handleMessage);
    return true;
}

CvLogger* CvLogger::instance()
{
    return g_logger.get();
}

quint32 CvLogger::rank(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return 0;
    case QtInfoMsg:
        return 1;
    case QtWarningMsg:
        return 2;
    case QtCriticalMsg:
        return 3;
    case QtFatalMsg:
        return 4;
    }
    return std::numeric_limits<quint32>::max();
}

QString CvLogger::levelWord(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("DEBUG");
    case QtInfoMsg:
        return QStringLiteral("INFO");
    case QtWarningMsg:
        return QStringLiteral("WARN");
    case QtCriticalMsg:
        return QStringLiteral("ERROR");
    case QtFatalMsg:
        return QStringLiteral("FATAL");
    }
    return QString();
}

QString CvLogger::formatLine(QtMsgType type, const QMessageLogContext& context, const QString& message) const
{
    QByteArray file(context.file ? context.file : "");
    if (!m_sourceRoot.isEmpty() && file.startsWith(m_sourceRoot))
        file = file.mid(m_sourceRoot.size());
    const auto tid = reinterpret_cast<quintptr>(QThread::currentThreadId());
    QString line = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
    line += '\t';
    line += levelWord(type);
    line += QStringLiteral("\tTID=") + QString::number(tid);
    line +=
        QStringLiteral("\t(") + QString::fromUtf8(file) + ':' + QString::number(context.line) + QStringLiteral(") ");
    line += message;
    line += QStringLiteral("\r\n");
    return line;
}

void CvLogger::handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    CvLogger* logger = g_logger.get();
    if (!logger)
        return;
    if (!logger->accepts(type))
        return;
    logger->write(logger->formatLine(type, context, message));
}

void CvLogger::write(const QString& text)
{
    // A message raised while this thread already holds the lock (from inside rotation, say)
    // must not deadlock; it goes to standard error only.
    static thread_local bool writing = false;
    if (writing) {
        std::fputs(text.toUtf8().constData(), stderr);
        return;
    }
    writing = true;
    QMutexLocker lock(&m_mutex);
    m_stderr << text;
    m_stderr.flush();
    m_fileStream << text;
    m_fileStream.flush();
    rotateIfNeeded();
    writing = false;
}

void CvLogger::rotateIfNeeded()
{
    if (static_cast<quint64>(m_file->size()) < m_rotationSize)
        return;
    const QFileInfo info(m_file->fileName());
    const auto rotated = [&info](int n) {
        return info.path() + "/" + info.baseName() + "." + QString::number(n) + "." + info.suffix();
    };
    for (int n = 4; n >= 1; --n) {
        const QString next = rotated(n + 1);
        const bool cleared = !QFile::exists(next) || QFile::remove(next);
        if (cleared && QFile::exists(rotated(n)))
            QFile::rename(rotated(n), next);
    }
    const QString path = m_file->fileName();
    m_fileStream.setDevice(nullptr);
    m_file->close();
    QFile::rename(path, rotated(1));
    auto file = std::make_unique<QFile>(path);
    file->open(QIODevice::WriteOnly | QIODevice::Append);
    m_file = std::move(file);
    m_fileStream.setDevice(m_file.get());
    m_fileStream.setCodec("UTF-8");
}

} // namespace Corvel
