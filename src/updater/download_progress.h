#pragma once

#include <QObject>

#include <functional>

class QWidget;

namespace CVUpdater {

// What the updater shows while a download runs. The logic library knows only this interface;
// corvel_updater_ui provides the modal progress dialog behind it.
class DownloadProgress : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~DownloadProgress() override;

    virtual void open() = 0;
    // total is -1 while the size is unknown.
    virtual void setProgress(qint64 received, qint64 total) = 0;
    virtual void close() = 0;

signals:
    void canceled();
};

using DownloadProgressFactory = std::function<DownloadProgress*(QWidget* parent)>;

} // namespace CVUpdater
