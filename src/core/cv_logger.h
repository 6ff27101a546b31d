#pragma once

#include "core/clock.h"

#include <QByteArray>
#include <QFile>
#include <QMutex>
#include <QString>
#include <QTextStream>
#include <QtGlobal>

#include <memory>

namespace Corvel {

// The file operations of the logger, so that a test can hand in files that fail on demand (a
// full disk) and see what the logger does with them.
class LogFileSystem {
public:
    virtual ~LogFileSystem() = default;
    // The file at path opened for appending without a buffer of its own; null when it cannot be.
    virtual std::unique_ptr<QFile> openAppend(const QString& path);
    virtual bool exists(const QString& path);
    virtual bool remove(const QString& path);
    virtual bool rename(const QString& from, const QString& to);

    static std::shared_ptr<LogFileSystem> real();
};

// The process-wide log sink: installs itself as the Qt message handler and writes every message
// as one line to standard error and to a size-rotated file.
//
// When the file cannot be written (a full disk), the lines it misses are dropped and counted,
// nothing piles up in memory, and the file is tried again at most once a second; the first line
// that gets through again is preceded by one saying how many were lost. A rotation that cannot
// proceed is tried again on the same schedule while writing goes on into the current file.
class CvLogger {
public:
    static constexpr qint64 FileRetryIntervalMs = 1000;

    static bool init(QtMsgType minimumLevel, const QString& folder, const QString& fileName, quint64 rotationSize,
                     std::shared_ptr<Clock> clock = Clock::system(),
                     std::shared_ptr<LogFileSystem> files = LogFileSystem::real());
    static CvLogger* instance();

    // Qt message handler entry.
    static void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message);

    // Writes ready-made text to both streams under the lock, then checks for rotation.
    void write(const QString& text);
    // Lines the file has missed since it last took one.
    quint64 lostLines() const;

    static quint32 rank(QtMsgType type);
    static QString levelWord(QtMsgType type);
    QString formatLine(QtMsgType type, const QMessageLogContext& context, const QString& message) const;
    bool accepts(QtMsgType type) const { return rank(m_minimumLevel) <= rank(type); }

    ~CvLogger();

private:
    CvLogger(QtMsgType minimumLevel, QByteArray sourceRoot, QString path, std::unique_ptr<QFile> file,
             quint64 rotationSize, std::shared_ptr<Clock> clock, std::shared_ptr<LogFileSystem> files);
    void writeToFile(const QByteArray& line);
    bool append(const QByteArray& bytes);
    bool resumeFile(qint64 now);
    void startFailing(qint64 now);
    void rotateIfNeeded(qint64 now);

    QtMsgType m_minimumLevel;
    QByteArray m_sourceRoot;
    QString m_path;
    std::unique_ptr<QFile> m_file; // null while it could not be reopened
    QTextStream m_stderr;
    mutable QMutex m_mutex;
    quint64 m_rotationSize;
    std::shared_ptr<Clock> m_clock;
    std::shared_ptr<LogFileSystem> m_files;
    bool m_failing = false;
    bool m_tornLine = false; // the last failed write left part of a line in the file
    quint64 m_lostLines = 0;
    qint64 m_retryAtMs = 0;
    qint64 m_rotationRetryAtMs = 0;
    bool m_rotationStuck = false;
};

} // namespace Corvel
