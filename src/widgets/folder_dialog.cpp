#include "widgets/folder_dialog.h"

#include <QFileDialog>
#include <QStringList>

namespace CorvelWidgets {

namespace {
QStringList g_answers;
QStringList g_captions;
} // namespace

QString FolderDialog::getExistingDirectory(QWidget* parent, const QString& caption, const QString& startDir)
{
    g_captions.append(caption);
    if (!g_answers.isEmpty())
        return g_answers.takeFirst();
    return QFileDialog::getExistingDirectory(parent, caption, startDir);
}

QString FolderDialog::getSaveFileName(QWidget* parent, const QString& caption, const QString& startPath,
                                      const QString& filter)
{
    g_captions.append(caption);
    if (!g_answers.isEmpty())
        return g_answers.takeFirst();
    return QFileDialog::getSaveFileName(parent, caption, startPath, filter);
}

void FolderDialog::setNextAnswer(const QString& answer)
{
    g_answers.append(answer);
}

QStringList FolderDialog::askedCaptions()
{
    return g_captions;
}

} // namespace CorvelWidgets
