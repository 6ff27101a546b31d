#pragma once

#include <QString>
#include <QStringList>

class QWidget;

namespace CorvelWidgets {

// The folder and file pickers of the console, so tests can answer it beforehand.
class FolderDialog {
public:
    // The chosen folder, or an empty text when the operator cancelled.
    static QString getExistingDirectory(QWidget* parent, const QString& caption, const QString& startDir);
    // A file to write, or an empty text when cancelled; answered from the same seam.
    static QString getSaveFileName(QWidget* parent, const QString& caption, const QString& startPath,
                                   const QString& filter);

    // Test seam: the next calls return these answers in order (empty = cancelled) without showing
    // anything; each call is recorded with its caption.
    static void setNextAnswer(const QString& answer);
    static QStringList askedCaptions();
};

} // namespace CorvelWidgets
