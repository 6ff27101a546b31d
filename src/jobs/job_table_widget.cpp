#include "jobs/job_table_widget.h"

#include "jobs/job_columns.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_header_widget.h"

#include <QDebug>
#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

namespace CvJobs {

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
{
    setObjectName("job_table");
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
    connect(m_list, &JobListWidget::rowRevealed, this,
            [this](QWidget* row) { m_listScrollArea->ensureWidgetVisible(row, 0, 0); });
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

    m_list->setConnection(&m_connection);
    connect(m_list, &JobListWidget::needsUpdate, this, &JobTableWidget::refresh);
    const QVector<int> captionMinimums = m_header->captionMinimums();
    for (int column = 0; column < captionMinimums.size() && column < JobColumns::Count; ++column)
        m_columns->setFloor(column, captionMinimums[column]);
    connect(m_list, &JobListWidget::columnsChanged, this, [this] {
        m_header->layout()->invalidate();
        fitHeader();
    });
    connect(&m_connection, &CorvelService::ServiceConnection::jobsArrived, m_list, &JobListWidget::setJobs);
    connect(&m_connection, &CorvelService::ServiceConnection::stateChanged, this, &JobTableWidget::updateServiceState);
    m_connection.startPolling();
}

void JobTableWidget::setClock(std::shared_ptr<Corvel::Clock> clock)
{
    m_list->setClock(std::move(clock));
}

void JobTableWidget::revealJob(const std::string& jobId)
{
    m_list->revealJob(jobId);
}

void JobTableWidget::refresh()
{
    m_connection.pollSoon();
}

void JobTableWidget::updateServiceState()
{
    const auto state = m_connection.state();
    const bool unreachable = state == CorvelService::ServiceConnection::State::Unreachable;
    const bool silent = state == CorvelService::ServiceConnection::State::Silent;
    if (unreachable) {
        const qint64 waitMs = m_connection.msUntilReconnect();
        m_banner->setText(
            m_connection.isPollOut() || waitMs == 0
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
    // No row action may be started while the service cannot answer.
    m_list->setActionsEnabled(!unavailable);
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

} // namespace CvJobs
