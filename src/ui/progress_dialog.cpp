#include "ui/progress_dialog.h"

#include "ui/ui_texts.h"
#include "updater/updater.h"
#include "widgets/bordered.h"
#include "widgets/dialog_style.h"

#include <QProgressDialog>

#include <limits>

namespace CVUpdater {

ProgressDialog::ProgressDialog(QWidget* parent)
    : m_dialog(new CorvelWidgets::Bordered<QProgressDialog>(parent))
{
    m_dialog->setObjectName(QStringLiteral("updater_progress_dialog"));
    m_dialog->setWindowTitle(QString(Corvel::UiTexts::Updater));
    m_dialog->setLabelText(QString(Corvel::UiTexts::DownloadingUpdates));
    m_dialog->setCancelButtonText(QString(Corvel::UiTexts::CancelButton));
    CorvelWidgets::DialogStyle::dropButtonIcons(*m_dialog);
    m_dialog->setRange(0, 100);
    m_dialog->setValue(0);
    m_dialog->setModal(true);
    // The updater closes the dialog itself; an automatic reset at 100 % would hide it early.
    m_dialog->setAutoReset(false);
    m_dialog->setAutoClose(false);
    m_dialog->setMinimumDuration(0);
    connect(m_dialog, &QProgressDialog::canceled, this, &DownloadProgress::canceled);
    // Escape rejects the dialog without the canceled signal.
    connect(m_dialog, &QDialog::rejected, this, &DownloadProgress::canceled);
}

ProgressDialog::~ProgressDialog()
{
    delete m_dialog.data();
}

QProgressDialog* ProgressDialog::dialog() const
{
    return m_dialog;
}

void ProgressDialog::open()
{
    if (m_dialog)
        m_dialog->show();
}

void ProgressDialog::setProgress(qint64 received, qint64 total)
{
    if (!m_dialog)
        return;
    if (total < 0) {
        m_dialog->setRange(0, 0);
        m_dialog->setValue(0);
        return;
    }
    constexpr qint64 limit = std::numeric_limits<int>::max();
    const qint64 divisor = total / limit + 1;
    m_dialog->setMaximum(static_cast<int>(total / divisor));
    m_dialog->setValue(static_cast<int>(qBound<qint64>(0, received, total) / divisor));
}

void ProgressDialog::close()
{
    if (m_dialog)
        m_dialog->close();
}

DownloadProgressFactory progressDialogFactory()
{
    return [](QWidget* parent) -> DownloadProgress* { return new ProgressDialog(parent); };
}

void useProgressDialog(Updater& updater)
{
    updater.setProgressFactory(progressDialogFactory());
}

} // namespace CVUpdater
