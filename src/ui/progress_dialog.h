#pragma once

#include "updater/download_progress.h"

#include <QPointer>

class QProgressDialog;

namespace CVUpdater {

class Updater;

// The modal "Updater" progress dialog of a download.
class ProgressDialog : public DownloadProgress {
    Q_OBJECT
public:
    explicit ProgressDialog(QWidget* parent);
    ~ProgressDialog() override;

    void open() override;
    void setProgress(qint64 received, qint64 total) override;
    void close() override;

    QProgressDialog* dialog() const;

private:
    QPointer<QProgressDialog> m_dialog;
};

DownloadProgressFactory progressDialogFactory();

// Makes the updater show ProgressDialog for its downloads.
void useProgressDialog(Updater& updater);

} // namespace CVUpdater
