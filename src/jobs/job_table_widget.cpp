#include "jobs/job_table_widget.h"

#include "jobs/job_list_widget.h"
#include "jobs/job_table_header_widget.h"
#include "jobs/service_call.h"

#include <QDebug>

#include <algorithm>
#include <QEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace CvJobs {

JobTableWidget::JobTableWidget(ServiceClient client, const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : QWidget(parent), m_client(std::move(client)), m_header(new JobTableHeaderWidget),
      m_list(new JobListWidget(iconFont)), m_headerScrollArea(new QScrollArea(this)),
      m_listScrollArea(new QScrollArea(this))
{
    setObjectName("job_table");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_headerScrollArea->setObjectName("job_table_header_scroll_area");
    m_headerScrollArea->setWidget(m_header);
    m_headerScrollArea->setWidgetResizable(true);
    m_headerScrollArea->setFrameShape(QFrame::NoFrame);
    m_headerScrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_headerScrollArea->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_headerScrollArea->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    layout->addWidget(m_headerScrollArea);

    m_listScrollArea->setObjectName("job_table_scroll_area");
    m_listScrollArea->setWidget(m_list);
    m_listScrollArea->setWidgetResizable(true);
    m_listScrollArea->setFrameShape(QFrame::NoFrame);
    m_listScrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_listScrollArea->verticalScrollBar()->setObjectName("job_table_scroll_bar");
    // Keeps the captions above their columns whether or not the rows need the scroll bar.
    m_listScrollArea->verticalScrollBar()->installEventFilter(this);
    layout->addWidget(m_listScrollArea, 1);

    m_list->setClient(m_client);
    connect(m_list, &JobListWidget::needsUpdate, this, &JobTableWidget::refresh);

    m_serviceLost = !m_client;
    refresh();

    m_timer.setInterval(RefreshIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &JobTableWidget::refresh);
    m_timer.start();
}

void JobTableWidget::setClientFactory(ClientFactory factory)
{
    m_clientFactory = std::move(factory);
}

void JobTableWidget::setReconnectInterval(int milliseconds)
{
    m_reconnectIntervalMs = milliseconds;
    m_nextReconnectDelayMs = milliseconds;
}

void JobTableWidget::refresh()
{
    if (m_serviceLost && m_clientFactory && !reconnect())
        return;
    if (!m_client)
        return;

    std::vector<CorvelService::JobDescription> jobs;
    // During an outage the first failure has been reported; the rest would repeat it twice a second.
    switch (callService([&] { m_client->getAllJobsInfo(jobs); }, !m_serviceLost)) {
    case CallOutcome::Ok:
        break;
    case CallOutcome::ApplicationFailure:
        return;
    case CallOutcome::OtherFailure:
        if (!m_serviceLost) {
            m_serviceLost = true;
            m_sinceReconnectAttempt.start();
        }
        return;
    }
    if (m_serviceLost) {
        m_serviceLost = false;
        qInfo("Connection to Corvel service restored.");
    }
    m_list->setJobs(jobs);
}

bool JobTableWidget::eventFilter(QObject* watched, QEvent* event)
{
    QScrollBar* bar = m_listScrollArea->verticalScrollBar();
    const auto type = event->type();
    if (watched == bar && (type == QEvent::Show || type == QEvent::Hide || type == QEvent::Resize))
        m_header->setRightInset(bar->isVisible() ? bar->width() : 0);
    return QWidget::eventFilter(watched, event);
}

bool JobTableWidget::reconnect()
{
    if (m_sinceReconnectAttempt.isValid() && m_sinceReconnectAttempt.elapsed() < m_nextReconnectDelayMs)
        return false;
    m_sinceReconnectAttempt.start();
    ServiceClient fresh = m_clientFactory();
    if (!fresh) {
        m_nextReconnectDelayMs = std::min(2 * m_nextReconnectDelayMs, 10 * m_reconnectIntervalMs);
        return false;
    }
    m_nextReconnectDelayMs = m_reconnectIntervalMs;
    m_client = std::move(fresh);
    // Rows hold the client they were built with; rebuilding hands them the new one.
    m_list->setClient(m_client);
    m_list->invalidate();
    emit serviceClientChanged(m_client);
    return true;
}

} // namespace CvJobs
