#include "jobs/job_table_widget.h"

#include "jobs/job_list_widget.h"
#include "jobs/job_table_header_widget.h"
#include "service/service_call.h"

#include <QDebug>

#include <QEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace CvJobs {

using CorvelService::CallOutcome;
using CorvelService::callService;

JobTableWidget::JobTableWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
                               QWidget* parent)
    : QWidget(parent)
    , m_connection(connection)
    , m_header(new JobTableHeaderWidget)
    , m_list(new JobListWidget(iconFont))
    , m_headerScrollArea(new QScrollArea(this))
    , m_listScrollArea(new QScrollArea(this))
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

    m_list->setClient(m_connection.client());
    connect(m_list, &JobListWidget::needsUpdate, this, &JobTableWidget::refresh);
    connect(&m_connection, &CorvelService::ServiceConnection::clientChanged, this, &JobTableWidget::takeClient);

    m_outageReported = m_connection.isLost();
    refresh();

    m_timer.setInterval(RefreshIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &JobTableWidget::refresh);
    m_timer.start();
}

void JobTableWidget::refresh()
{
    if (m_connection.isLost() && !m_connection.reconnectIfDue())
        return;
    const std::shared_ptr<CorvelService::CorvelServiceIf> client = m_connection.client();
    if (!client)
        return;

    std::vector<CorvelService::JobDescription> jobs;
    // During an outage the first failure has been reported; the rest would repeat it twice a second.
    switch (callService([&] { client->getAllJobsInfo(jobs); }, QtWarningMsg, !m_outageReported)) {
    case CallOutcome::Ok:
        break;
    case CallOutcome::ApplicationFailure:
        return;
    case CallOutcome::OtherFailure:
        m_outageReported = true;
        m_connection.reportLost(client);
        return;
    }
    if (m_outageReported) {
        m_outageReported = false;
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

void JobTableWidget::takeClient(const std::shared_ptr<CorvelService::CorvelServiceIf>& client)
{
    // Rows hold the client they were built with; rebuilding hands them the new one.
    m_list->setClient(client);
    m_list->invalidate();
}

} // namespace CvJobs
