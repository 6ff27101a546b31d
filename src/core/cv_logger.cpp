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

// The part of this file's compile-time path before "src/core/cv_logger.cpp": stripped from
// message source paths so that lines show project-relative files.
QByteArray computeSourceRoot()
{
    QByteArray path(__FILE__);
    for (const char* suffix : {"src/core/cv_logger.cpp", "src\\core\\cv_logger.cpp"}) {
        const int at = path.lastIndexOf(suffix);
        if (at >= 0)
            return path.left(at);
    }
    return QByteArray();
}

} // namespace

std::unique_ptr<QFile> LogFileSystem::openAppend(const QString& path)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return nullptr;
    return file;
}

bool LogFileSystem::exists(const QString& path)
{
    return QFile::exists(path);
}

bool LogFileSystem::remove(const QString& path)
{
    return QFile::remove(path);
}

bool LogFileSystem::rename(const QString& from, const QString& to)
{
    return QFile::rename(from, to);
}

std::shared_ptr<LogFileSystem> LogFileSystem::real()
{
    static const auto files = std::make_shared<LogFileSystem>();
    return files;
}

CvLogger::CvLogger(QtMsgType minimumLevel, QByteArray sourceRoot, QString path, std::unique_ptr<QFile> file,
                   quint64 rotationSize, std::shared_ptr<Clock> clock, std::shared_ptr<LogFileSystem> files)
    : m_minimumLevel(minimumLevel)
    , m_sourceRoot(std::move(sourceRoot))
    , m_path(std::move(path))
    , m_file(std::move(file))
    , m_stderr(stderr)
    , m_rotationSize(rotationSize)
    , m_clock(std::move(clock))
    , m_files(std::move(files))
{
    m_stderr.setCodec("UTF-8");
}

CvLogger::~CvLogger() = default;

bool CvLogger::init(QtMsgType minimumLevel, const QString& folder, const QString& fileName, quint64 rotationSize,
                    std::shared_ptr<Clock> clock, std::shared_ptr<LogFileSystem> files)
{
    if (!QDir(folder).mkpath(QStringLiteral(".")))
        return false;
    const QString path = folder + "/" + fileName;
    auto file = files->openAppend(path);
    if (!file)
        return false;
    qInstallMessageHandler(nullptr);
    g_logger.reset(new CvLogger(minimumLevel, computeSourceRoot(), path, std::move(file), rotationSize,
                                std::move(clock), std::move(files)));
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
    writeToFile(text.toUtf8());
    writing = false;
}

quint64 CvLogger::lostLines() const
{
    QMutexLocker lock(&m_mutex);
    return m_lostLines;
}

void CvLogger::writeToFile(const QByteArray& line)
{
    const qint64 now = m_clock->nowMs();
    if (m_failing && (now < m_retryAtMs || !resumeFile(now))) {
        ++m_lostLines;
        return;
    }
    if (!append(line)) {
        ++m_lostLines;
        startFailing(now);
        return;
    }
    rotateIfNeeded(now);
}

bool CvLogger::append(const QByteArray& bytes)
{
    // The file has no buffer of its own: what the disk refuses is gone at once, and a failed
    // write leaves nothing behind to grow.
    const qint64 written = m_file->write(bytes);
    if (written == bytes.size())
        return true;
    if (written > 0)
        m_tornLine = true;
    m_file->unsetError();
    return false;
}

void CvLogger::startFailing(qint64 now)
{
    m_failing = true;
    m_retryAtMs = now + FileRetryIntervalMs;
}

// The retry after a failure: reopens the file if rotation left none, then tells in one line how
// many lines were lost. False (and another second to wait) while the file still refuses.
bool CvLogger::resumeFile(qint64 now)
{
    if (!m_file)
        m_file = m_files->openAppend(m_path);
    if (!m_file) {
        startFailing(now);
        return false;
    }
    QByteArray notice = m_tornLine ? QByteArray("\r\n") : QByteArray();
    const QString text = formatLine(QtWarningMsg, QMessageLogContext(),
                                    QStringLiteral("Log file could not be written: %1 lines lost").arg(m_lostLines));
    notice += text.toUtf8();
    if (!append(notice)) {
        startFailing(now);
        return false;
    }
    m_stderr << text;
    m_stderr.flush();
    m_failing = false;
    m_tornLine = false;
    m_lostLines = 0;
    return true;
}

void CvLogger::rotateIfNeeded(qint64 now)
{
    if (now < m_rotationRetryAtMs || static_cast<quint64>(m_file->size()) < m_rotationSize)
        return;
    const QFileInfo info(m_path);
    const auto rotated = [&info](int n) {
        return info.path() + "/" + info.baseName() + "." + QString::number(n) + "." + info.suffix();
    };
    // A retry after the file could not be moved aside finds the first place already free; shifting
    // again would push the oldest files out one by one.
    if (!m_rotationStuck || m_files->exists(rotated(1))) {
        for (int n = 4; n >= 1; --n) {
            const QString next = rotated(n + 1);
            const bool cleared = !m_files->exists(next) || m_files->remove(next);
            if (cleared && m_files->exists(rotated(n)))
                m_files->rename(rotated(n), next);
        }
    }
    m_file.reset();
    // When the file cannot be moved aside, writing goes on into it and the rotation waits its
    // turn like any other retry rather than being attempted again with every line.
    m_rotationStuck = !m_files->rename(m_path, rotated(1));
    if (m_rotationStuck)
        m_rotationRetryAtMs = now + FileRetryIntervalMs;
    m_file = m_files->openAppend(m_path);
    if (!m_file)
        startFailing(now);
}

} // namespace Corvel
