#include "jobs/job_table_widget.h"

#include "jobs/job_columns.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_header_widget.h"

#include <QDebug>
#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <mutex>
#include <thread>

namespace CvJobs {

using CorvelService::CallOutcome;

// Carries a request's answer back from its thread; the table unhooks itself when it goes, so an
// answer that comes late is dropped.
struct JobTableWidget::Channel {
    std::mutex mutex;
    JobTableWidget* table = nullptr;

    void deliver(std::shared_ptr<Poll> poll)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (!table)
            return;
        JobTableWidget* receiver = table;
        QMetaObject::invokeMethod(
            receiver, [receiver, poll] { receiver->finishPoll(*poll); }, Qt::QueuedConnection);
    }
};

JobTableWidget::JobTableWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
                               QWidget* parent)
    : QWidget(parent)
    , m_connection(connection)
    , m_columns(std::make_shared<JobColumns>())
    , m_banner(new QLabel(this))
    , m_header(new JobTableHeaderWidget(m_columns))
    , m_list(new JobListWidget(iconFont, m_columns))
    , m_headerScrollArea(new QScrollArea(this))
    , m_listScrollArea(new QScrollArea(this))
    , m_greyed(new QGraphicsOpacityEffect(this))
    , m_channel(std::make_shared<Channel>())
{
    setObjectName("job_table");
    m_channel->table = this;
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_banner->setObjectName("job_table_banner");
    m_banner->setWordWrap(true);
    m_banner->setTextFormat(Qt::PlainText);
    m_banner->hide();
    layout->addWidget(m_banner);

    m_headerScrollArea->setObjectName("job_table_header_scroll_area");
    m_headerScrollArea->setWidget(m_header);
    m_headerScrollArea->setWidgetResizable(true);
    m_headerScrollArea->setFrameShape(QFrame::NoFrame);
    m_headerScrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_headerScrollArea->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_headerScrollArea->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    layout->addWidget(m_headerScrollArea);

    m_listScrollArea->setObjectName("job_table_scroll_area");
    // Tab goes from row to row; the scroll areas themselves are no stops.
    m_headerScrollArea->setFocusPolicy(Qt::NoFocus);
    m_listScrollArea->setFocusPolicy(Qt::NoFocus);
    connect(m_list, &JobListWidget::rowRevealed, this, [this](QWidget* row) {
        m_list->layout()->activate();
        m_listScrollArea->ensureWidgetVisible(row, 0, 0);
    });
    m_listScrollArea->setWidget(m_list);
    m_listScrollArea->setWidgetResizable(true);
    m_listScrollArea->setFrameShape(QFrame::NoFrame);
    m_listScrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_listScrollArea->verticalScrollBar()->setObjectName("job_table_scroll_bar");
    // Keeps the captions above their columns whether or not the rows need the scroll bar.
    m_listScrollArea->verticalScrollBar()->installEventFilter(this);
    layout->addWidget(m_listScrollArea, 1);
    // Rows of a service that is away stay on screen, faded.
    m_greyed->setOpacity(0.45);
    m_greyed->setEnabled(false);
    m_listScrollArea->viewport()->setGraphicsEffect(m_greyed);

    m_list->setClient(m_connection.client());
    connect(m_list, &JobListWidget::needsUpdate, this, &JobTableWidget::refreshSoon);
    const QVector<int> captionMinimums = m_header->captionMinimums();
    for (int column = 0; column < captionMinimums.size() && column < JobColumns::Count; ++column)
        m_columns->setFloor(column, captionMinimums[column]);
    connect(m_list, &JobListWidget::columnsChanged, this, [this] {
        m_header->layout()->invalidate();
        fitHeader();
    });
    connect(&m_connection, &CorvelService::ServiceConnection::clientChanged, this, &JobTableWidget::takeClient);

    m_silence.setSingleShot(true);
    m_silence.setTimerType(Qt::PreciseTimer);
    m_silence.setInterval(NotRespondingMs + 1);
    connect(&m_silence, &QTimer::timeout, this, &JobTableWidget::updateServiceState);

    m_outageReported = m_connection.isLost();
    refresh();

    m_timer.setInterval(RefreshIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &JobTableWidget::refresh);
    m_timer.start();
}

void JobTableWidget::setClock(std::shared_ptr<Corvel::Clock> clock)
{
    m_list->setClock(std::move(clock));
}

void JobTableWidget::revealJob(const std::string& jobId)
{
    m_list->revealJob(jobId);
}

JobTableWidget::~JobTableWidget()
{
    std::lock_guard<std::mutex> lock(m_channel->mutex);
    m_channel->table = nullptr;
}

void JobTableWidget::refresh()
{
    if (m_pollRunning) {
        updateServiceState();
        return;
    }
    if (m_connection.isLost()) {
        if (m_connection.beginReconnect())
            startPoll(nullptr, true);
    } else if (auto client = m_connection.client()) {
        startPoll(std::move(client), false);
    }
    updateServiceState();
}

void JobTableWidget::refreshSoon()
{
    if (m_pollRunning)
        m_refreshAgain = true;
    else
        refresh();
}

void JobTableWidget::startPoll(CorvelService::ServiceConnection::Client client, bool reconnect)
{
    m_pollRunning = true;
    m_silence.start();
    CorvelService::ServiceConnection::Factory factory = reconnect ? m_connection.factory() : nullptr;
    // A thread of its own, not a pool's: a service that never answers keeps it forever, and
    // nothing may wait for it on the way out.
    std::thread([channel = m_channel, client = std::move(client), factory = std::move(factory)]() mutable {
        if (factory) {
            client = factory();
            auto connected = std::make_shared<Poll>();
            connected->stage = client ? Poll::Connected : Poll::ConnectFailed;
            connected->client = client;
            channel->deliver(connected);
            if (!client)
                return;
        }
        auto poll = std::make_shared<Poll>();
        poll->client = client;
        poll->result = CorvelService::tryServiceCall([&] { client->getAllJobsInfo(poll->jobs); });
        channel->deliver(poll);
    }).detach();
}

void JobTableWidget::finishPoll(Poll& poll)
{
    if (poll.stage == Poll::Connected) {
        // The rows take the new client now; the list is still to come.
        m_connection.finishReconnect(poll.client);
        m_silence.start();
        updateServiceState();
        return;
    }
    m_pollRunning = false;
    m_silence.stop();
    if (poll.stage == Poll::ConnectFailed) {
        m_connection.finishReconnect(nullptr);
    } else {
        switch (poll.result.outcome) {
        case CallOutcome::Ok:
            if (m_outageReported) {
                m_outageReported = false;
                qInfo("Connection to Corvel service restored.");
            }
            m_list->setJobs(std::move(poll.jobs));
            break;
        case CallOutcome::ApplicationFailure:
            CorvelService::logCallFailure(poll.result);
            break;
        case CallOutcome::OtherFailure:
            // During an outage the first failure has been reported; the rest would repeat it.
            if (!m_outageReported)
                CorvelService::logCallFailure(poll.result);
            m_outageReported = true;
            m_connection.reportLost(poll.client);
            break;
        }
    }
    updateServiceState();
    emit polled();
    if (m_refreshAgain) {
        m_refreshAgain = false;
        refresh();
    }
}

void JobTableWidget::updateServiceState()
{
    const bool unreachable = m_connection.isLost();
    // The silence timer runs while a request is out and stops when it returns.
    const bool silent = m_pollRunning && !m_silence.isActive();
    if (unreachable) {
        const qint64 waitMs = m_connection.msUntilReconnect();
        m_banner->setText(
            m_pollRunning || waitMs == 0
                ? tr("The Corvel service is not reachable. Connecting again now...")
                : tr("The Corvel service is not reachable. Trying again in %1 s.").arg((waitMs + 999) / 1000));
    } else if (silent) {
        m_banner->setText(tr("The Corvel service is not responding. Job actions are paused until it answers."));
    }
    const bool unavailable = unreachable || silent;
    if (unavailable == m_unavailable)
        return;
    m_unavailable = unavailable;
    m_banner->setVisible(unavailable);
    // The row actions call the service on this thread: none may be started while it cannot answer.
    m_list->setEnabled(!unavailable);
    m_greyed->setEnabled(unavailable);
}

bool JobTableWidget::eventFilter(QObject* watched, QEvent* event)
{
    QScrollBar* bar = m_listScrollArea->verticalScrollBar();
    const auto type = event->type();
    if (watched == bar && (type == QEvent::Show || type == QEvent::Hide || type == QEvent::Resize))
        m_header->setRightInset(bar->isVisible() ? bar->width() : 0);
    return QWidget::eventFilter(watched, event);
}

void JobTableWidget::showEvent(QShowEvent* event)
{
    m_connection.setMaxReconnectDelay(MaxReconnectDelayShownMs);
    QWidget::showEvent(event);
}

void JobTableWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitHeader();
}

void JobTableWidget::fitHeader()
{
    const int width = m_headerScrollArea->viewport()->width();
    if (width > 0)
        m_headerScrollArea->setFixedHeight(m_header->heightForWidth(width));
}

void JobTableWidget::hideEvent(QHideEvent* event)
{
    m_connection.setMaxReconnectDelay(MaxReconnectDelayHiddenMs);
    QWidget::hideEvent(event);
}

void JobTableWidget::takeClient(const std::shared_ptr<CorvelService::CorvelServiceIf>& client)
{
    m_list->setClient(client);
}

} // namespace CvJobs
