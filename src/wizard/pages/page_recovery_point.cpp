#include "wizard/pages/page_recovery_point.h"

#include "cloud/cloud_api.h"
#include "service/service_call.h"
#include "widgets/date_line_edit_with_buttons_days_move.h"
#include "widgets/loader_widget.h"
#include "widgets/message_box.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"
#include "wizard/recovery_wizard_values.h"
#include "wizard/restore_points.h"

#include <thrift/TApplicationException.h>

#include <QDebug>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QtConcurrent>

namespace Corvel {

using namespace VuskAPI;

namespace {

// The item data role that carries the restore point's full name. (Role 1 is the decoration role:
// a text there makes the view reserve an icon's room in front of every time.)
constexpr int NameRole = Qt::UserRole;

} // namespace

PageRecoveryPoint::PageRecoveryPoint(RecoveryWizardValues* values, const PageContext& context,
                                     const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : RecoveryWizardPage(iconFont, "Recovery Point", parent)
    , m_values(values)
    , m_cloud(context.cloud)
    , m_serviceFactory(context.serviceFactory)
    , m_retries(context.settings.connectionRetriesNumber())
    , m_retry(&context.session, this, m_retries, context.settings.authUrl())
    , m_datePicker(new CorvelWidgets::DateLineEditWithButtonsDaysMove("mm/dd/yyyy", iconFont))
    , m_timeList(new QListWidget)
    , m_loader(new CorvelWidgets::LoaderWidget)
    , m_next(PageParts::next(iconFont))
{
    m_retry.setTokenSource(context.tokenSource);

    auto* header = new QLabel("<b>Which Snapshot Do You Want to Restore?</b>");
    header->setObjectName("sub_header");
    m_timeList->setObjectName("new_job_wizard_list");
    m_timeList->setAccessibleName("SNAPSHOT TIME:");
    m_timeList->verticalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    m_timeList->horizontalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    m_datePicker->setAccessibleName("SNAPSHOT DATE:");

    QPushButton* back = PageParts::back(iconFont);
    connectBack(back);
    connect(m_next, &QPushButton::clicked, this, [this] {
        if (const auto next = PageFlow::afterRecoveryPoint(m_values->recoveryType))
            emit nextPageRequested(*next);
    });
    m_next->setEnabled(false);

    auto* buttons = PageParts::footer({m_loader}, {back, m_next});

    QVBoxLayout* layout = contentLayout();
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(header);
    layout->addWidget(PageParts::label("SNAPSHOT DATE:", "field_label_rec_point"));
    layout->addWidget(m_datePicker);
    layout->addWidget(PageParts::label("SNAPSHOT TIME:", "field_label_rec_point"));
    layout->addWidget(m_timeList);
    layout->addLayout(buttons);
    finishLayout(true);

    connect(m_datePicker, &CorvelWidgets::DateLineEditWithButtonsDaysMove::dateSelected, this,
            &PageRecoveryPoint::onDateSelected);
    connect(m_timeList, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) { onTimeChanged(item); });
    connect(&m_watcher, &QFutureWatcher<Retrieval>::finished, this, &PageRecoveryPoint::onRetrievalFinished);
}

void PageRecoveryPoint::onPageShown()
{
    const auto cached = m_values->restorePointsCache.constFind(m_values->deviceId);
    if (cached == m_values->restorePointsCache.constEnd()) {
        clearSelection();
        m_retry.reset();
        m_datePicker->setEnabled(false);
        requestDeviceToken();
        return;
    }
    if (m_shownDevice != m_values->deviceId) {
        clearSelection();
        m_retry.reset();
        fillDates();
    }
}

void PageRecoveryPoint::clearSelection()
{
    m_timeList->clear();
    m_datePicker->clear();
    m_values->snapshot.clear();
    m_next->setEnabled(false);
}

void PageRecoveryPoint::requestDeviceToken()
{
    const quint64 generation = ++m_tokenGeneration;
    const quint64 dataSourceId = m_values->dataSourceId;
    const qint64 deviceId = static_cast<qint64>(m_values->deviceId);
    QPointer<PageRecoveryPoint> self(this);
    m_retry.run<DeviceToken>(
        QStringLiteral("Clients request"),
        [this, self, generation, dataSourceId, deviceId](Callback<DeviceToken> done) {
            m_loader->showLoader("Loading snapshots");
            m_cloud.getDeviceToken(dataSourceId, deviceId, [self, generation, done](const Result<DeviceToken>& result) {
                if (self && generation == self->m_tokenGeneration)
                    done(result);
            });
        },
        [this](const DeviceToken& token) {
            m_values->deviceHost = token.url;
            m_values->deviceToken = token.token;
            qInfo().noquote() << "Device host: " + token.url;
            m_retrievalDevice = m_values->deviceId;
            m_watcher.setFuture(QtConcurrent::run(&PageRecoveryPoint::retrieveRestorePoints, m_serviceFactory,
                                                  token.url, token.token, m_retries));
        },
        [this](const RequestError&) { m_loader->hideLoader(); });
}

PageRecoveryPoint::Retrieval
PageRecoveryPoint::retrieveRestorePoints(const CorvelService::ServiceConnection::Factory& factory, const QString& url,
                                         const QString& token, int retries)
{
    const std::shared_ptr<CorvelService::CorvelServiceIf> client = factory ? factory() : nullptr;
    if (!client) {
        qWarning() << "Failed to create Corvel Service client";
        return std::nullopt;
    }
    for (int attempt = 0; attempt <= retries; ++attempt) {
        std::vector<std::string> names;
        try {
            client->retrieveRestorePoints(names, url.toStdString(), token.toStdString());
            QStringList list;
            list.reserve(static_cast<int>(names.size()));
            for (const std::string& name : names)
                list.append(QString::fromStdString(name));
            return list;
        } catch (const apache::thrift::TApplicationException& e) {
            qWarning().noquote() << QStringLiteral("Application exception: ") + QString::fromUtf8(e.what());
        } catch (const std::exception& e) {
            qWarning().noquote() << QStringLiteral("Unknown exception: ") + QString::fromUtf8(e.what());
        }
        qInfo().noquote() << "Retrying attempts left: " + QString::number(retries - attempt);
    }
    return std::nullopt;
}

void PageRecoveryPoint::onRetrievalFinished()
{
    m_retry.reset();
    m_loader->hideLoader();
    const Retrieval result = m_watcher.result();
    if (!result) {
        CorvelWidgets::MessageBox::critical(this, "Internal Error", "Internal error: Failed to get restore points");
        return;
    }
    if (result->isEmpty()) {
        CorvelWidgets::MessageBox::information(this, "Retrieveing restore points",
                                               "No restore points found for selected device");
        return;
    }
    m_values->restorePointsCache.insert(m_retrievalDevice, *result);
    // The operator may have moved on to another device while the service was asked.
    if (m_retrievalDevice == m_values->deviceId)
        fillDates();
}

void PageRecoveryPoint::fillDates()
{
    m_shownDevice = m_values->deviceId;
    const QList<QDate> dates = RestorePoints::availableDates(m_values->restorePointsCache.value(m_values->deviceId));
    m_datePicker->setAvailableDates(dates);
    m_datePicker->setEnabled(true);
    if (!dates.isEmpty())
        m_datePicker->handleSetDate(dates.first());
}

void PageRecoveryPoint::onDateSelected(const QDate& date)
{
    const QStringList names = m_values->restorePointsCache.value(m_values->deviceId);
    m_timeList->clear();
    for (const RestorePoints::TimeEntry& entry : RestorePoints::timesOn(names, date)) {
        auto* item = new QListWidgetItem(entry.text, m_timeList);
        item->setData(NameRole, entry.name);
    }
}

void PageRecoveryPoint::onTimeChanged(QListWidgetItem* item)
{
    m_values->snapshot.clear();
    m_next->setEnabled(false);
    if (item && item->data(NameRole).isValid())
        m_values->snapshot = item->data(NameRole).toString();
    m_next->setEnabled(!m_values->snapshot.isEmpty());
}

} // namespace Corvel
