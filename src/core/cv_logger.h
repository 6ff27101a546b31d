#pragma once

#include <QFile>
#include <QMutex>
#include <QString>
#include <QTextStream>
#include <QtGlobal>

#include <memory>

namespace Corvel {

// The process-wide log sink: installs itself as the Qt message handler and writes every message
// as one line to standard error and to a size-rotated file.
class CvLogger {
public:
    static bool init(QtMsgType minimumLevel, const QString& folder, const QString& fileName, quint64 rotationSize);
    static CvLogger* instance();

    // Qt message handler entry.
    static void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message);

    // Writes ready-made text to both streams under the lock, then checks for rotation.
    void write(const QString& text);

    static quint32 rank(QtMsgType type);
    static QString levelWord(QtMsgType type);
    QString formatLine(QtMsgType type, const QMessageLogContext& context, const QString& message) const;
    bool accepts(QtMsgType type) const { return rank(m_minimumLevel) <= rank(type); }

    ~CvLogger();

private:
    CvLogger(QtMsgType minimumLevel, QByteArray sourceRoot, std::unique_ptr<QFile> file, quint64 rotationSize);
    void rotateIfNeeded();

    QtMsgType m_minimumLevel;
    QByteArray m_sourceRoot;
    std::unique_ptr<QFile> m_file;
    QTextStream m_stderr;
    QTextStream m_fileStream;
    QMutex m_mutex;
    quint64 m_rotationSize;
};

} // namespace Corvel
