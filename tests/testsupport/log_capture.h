#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace CorvelTest {

// Collects every Qt message while alive; captures may nest. The previous handler is restored when
// the last one ends.
class LogCapture {
public:
    struct Entry {
        QtMsgType type;
        QString text;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    QList<Entry> entries() const;
    QStringList texts() const;
    bool contains(const QString& text) const;
    bool contains(QtMsgType type, const QString& text) const;
    int count(const QString& text) const;
    void clear();

private:
    QList<Entry> m_entries;
};

} // namespace CorvelTest
