#include "jobs/job_hand_off.h"

#include "jobs/jobs_texts.h"
#include "platform/platform.h"
#include "widgets/message_box.h"

#include <QClipboard>
#include <QDebug>
#include <QGuiApplication>
#include <QRegularExpression>

namespace CvJobs {

namespace {

using CorvelService::JobStatus;
using CorvelService::JobType;
using Outcome = CorvelPlatform::Desktop::Outcome;

// "E:" is the drive's current folder to the shell; its root is meant.
QString folder(const std::string& path)
{
    QString out = QString::fromStdString(path);
    static const QRegularExpression bareDrive(QStringLiteral("^[A-Za-z]:$"));
    if (bareDrive.match(out).hasMatch())
        out += QLatin1Char('\\');
    return out;
}

QString menuText(QString text)
{
    return text.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void sayFailure(QWidget* parent, const QString& text)
{
    qWarning().noquote() << text;
    CorvelWidgets::MessageBox::warning(parent, QStringLiteral("Corvel"), text);
}

} // namespace

QList<JobHandOff::Entry> JobHandOff::entries(const CorvelService::JobDescription& job)
{
    const auto& configuration = job.configuration;
    const bool running = job.status == JobStatus::Running;
    QList<Entry> out;
    const auto add = [&out](Kind kind, const QString& text, const QString& target) {
        if (!target.isEmpty())
            out << Entry{kind, menuText(text), target};
    };
    const QString mountPoint = folder(configuration.mount_point);
    switch (job.job_type) {
    case JobType::FileRecovery:
        if (running)
            add(Kind::OpenFolder, QString::fromLatin1(Texts::OpenFolder).arg(mountPoint), mountPoint);
        break;
    case JobType::VirtualExport:
        if (running || job.status == JobStatus::Stopping || job.status == JobStatus::Stopped)
            add(Kind::OpenFolder, Texts::OpenExportFolder, mountPoint);
        break;
    case JobType::Virtualization:
        if (running) {
            add(Kind::ConnectVm, Texts::ConnectVm, QString::fromStdString(configuration.vm_settings.name));
            add(Kind::CopyPath, Texts::CopyPath, QString::fromStdString(configuration.vm_settings.storage_location));
        }
        return out;
    }
    if (!out.isEmpty())
        add(Kind::CopyPath, Texts::CopyPath, out.first().target);
    return out;
}

void JobHandOff::run(const Entry& entry, const CorvelService::JobDescription& job, CorvelPlatform::Desktop& desktop,
                     QWidget* parent)
{
    const QString jobId = QString::fromStdString(job.id);
    const QString& target = entry.target;
    if (entry.kind == Kind::CopyPath) {
        QGuiApplication::clipboard()->setText(target);
        return;
    }
    const bool vm = entry.kind == Kind::ConnectVm;
    const auto result =
        vm ? desktop.connectToVirtualMachine(target.toStdString()) : desktop.openFolder(target.toStdString());
    switch (result.outcome) {
    case Outcome::Opened:
        qInfo().noquote() << QString::fromLatin1(vm ? Texts::Connecting : Texts::Opened).arg(target, jobId);
        return;
    case Outcome::NotHere:
        qInfo().noquote() << QString::fromLatin1(vm ? Texts::WouldConnect : Texts::WouldOpen).arg(target, jobId);
        return;
    case Outcome::Missing:
        sayFailure(parent, QString::fromLatin1(Texts::NoLongerThere).arg(target));
        return;
    case Outcome::Failed:
        sayFailure(parent, QString::fromLatin1(vm ? Texts::CannotConnect : Texts::CannotOpen)
                               .arg(target, QString::number(result.error)));
        return;
    }
}

} // namespace CvJobs
