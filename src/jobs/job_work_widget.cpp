#include "jobs/job_work_widget.h"

#include "jobs/job_status_label.h"
#include "jobs/soft_wrap.h"

#include <QCoreApplication>
#include <QFontDatabase>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QResizeEvent>
#include <QSet>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

namespace CvJobs {

namespace {

constexpr int ActivityTickMs = 1000;

// One clock for every running row: each second it brings the rows in view up to date. A timer per
// row would wake a thousand rows, and a reader of the screen with them, to change text nobody sees.
class ActivityTicker : public QObject {
public:
    static ActivityTicker& instance()
    {
        static QPointer<ActivityTicker> ticker;
        if (!ticker)
            ticker = new ActivityTicker(QCoreApplication::instance());
        return *ticker;
    }

    void add(JobWorkWidget* widget)
    {
        m_widgets.insert(widget);
        if (!m_timer.isActive())
            m_timer.start();
    }

    void remove(JobWorkWidget* widget)
    {
        m_widgets.remove(widget);
        if (m_widgets.isEmpty())
            m_timer.stop();
    }

private:
    explicit ActivityTicker(QObject* parent)
        : QObject(parent)
    {
        m_timer.setInterval(ActivityTickMs);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            for (JobWorkWidget* widget : qAsConst(m_widgets))
                if (!widget->visibleRegion().isEmpty())
                    widget->tick();
        });
    }

    QTimer m_timer;
    QSet<JobWorkWidget*> m_widgets;
};

} // namespace

JobWorkWidget::JobWorkWidget(const CorvelService::JobDescription& job, const CorvelWidgets::IconFont& iconFont,
                             QWidget* parent, std::shared_ptr<Corvel::Clock> clock)
    : QWidget(parent)
    , m_layout(new QVBoxLayout(this))
    , m_statusLabel(new JobStatusLabel(job.status, iconFont, this))
    , m_progressBar(new QProgressBar(this))
    , m_clock(std::move(clock))
    , m_activityLabel(new QLabel(this))
{
    setObjectName("job_item");
    m_layout->setSpacing(0);
    m_layout->setContentsMargins(0, 0, 0, 0);
    // Centred in the row like the other cells, so a bar never seems to belong to the next row.
    m_layout->addStretch(1);
    m_layout->addWidget(m_statusLabel, 0, Qt::AlignLeft);
    m_workLabel = new QLabel(QString(QChar::Nbsp), this);
    m_workLabel->setObjectName("job_item_status");
    m_workLabel->setWordWrap(true);
    m_workLabel->setTextFormat(Qt::PlainText);
    m_layout->addWidget(m_workLabel);

    m_progressBar->setObjectName("job_current_work_progress_bar");
    m_progressBar->setRange(0, 100);
    m_progressBar->setTextVisible(false);
    m_progressBar->setMinimumWidth(0);
    m_progressBar->setMaximumWidth(1000);
    m_layout->addWidget(m_progressBar);
    // Digits of one width, so the figures do not shift as they count.
    m_activityLabel->setObjectName("job_activity");
    m_activityLabel->setTextFormat(Qt::PlainText);
    QFont figures = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    figures.setPointSizeF(font().pointSizeF() > 0 ? font().pointSizeF() * 0.85 : 8.5);
    m_activityLabel->setFont(figures);
    // The clock changes its text every second. In a holder without a layout its geometry
    // requests stop there, instead of laying out the row and the whole list again each time.
    auto* clockHolder = new QWidget(this);
    clockHolder->setObjectName("job_activity_holder");
    m_activityLabel->setParent(clockHolder);
    m_activityLabel->ensurePolished();
    clockHolder->setFixedHeight(m_activityLabel->sizeHint().height());
    clockHolder->installEventFilter(this);
    m_layout->addWidget(clockHolder);
    m_layout->addStretch(1);
    m_work.progress = -1; // differs from any value, so the bar is set below
    setWork(job.current_work);

    trackActivity(job);
}

JobWorkWidget::~JobWorkWidget()
{
    ActivityTicker::instance().remove(this);
}

void JobWorkWidget::tick()
{
    showActivity();
}

void JobWorkWidget::resumeActivity(const CorvelJournal::JobActivity& activity, std::shared_ptr<Corvel::Clock> clock)
{
    m_clock = std::move(clock);
    m_activity = activity;
    showActivity();
}

bool JobWorkWidget::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && watched == m_activityLabel->parentWidget())
        m_activityLabel->resize(static_cast<QResizeEvent*>(event)->size());
    return QWidget::eventFilter(watched, event);
}

void JobWorkWidget::setJob(const CorvelService::JobDescription& job)
{
    m_statusLabel->setStatus(job.status);
    setWork(job.current_work);
    trackActivity(job);
}

int JobWorkWidget::steadyHeight() const
{
    return m_statusLabel->sizeHint().height() + fontMetrics().lineSpacing() + m_progressBar->sizeHint().height() +
           m_activityLabel->sizeHint().height();
}

void JobWorkWidget::trackActivity(const CorvelService::JobDescription& job)
{
    const bool running = job.status == CorvelService::JobStatus::Running;
    m_activity.update(running, QString::fromStdString(job.current_work.text), job.current_work.progress,
                      m_clock->nowMs());
    if (running)
        ActivityTicker::instance().add(this);
    else
        ActivityTicker::instance().remove(this);
    showActivity();
}

void JobWorkWidget::showActivity()
{
    // An idle clock keeps its line, blank: a row must not change height when its job starts or stops.
    if (!m_activity.isRunning()) {
        if (m_activityLabel->text() != QString(QChar::Nbsp))
            m_activityLabel->setText(QString(QChar::Nbsp));
        return;
    }
    const qint64 now = m_clock->nowMs();
    QString text = CorvelJournal::JobActivity::clockText(m_activity.elapsedMs(now));
    const bool stalled = m_activity.isStalled(now);
    if (stalled) {
        text += QStringLiteral("  No progress for 10 min");
    } else {
        const qint64 left = m_activity.remainingMs(now);
        if (left >= 0)
            text += QStringLiteral("  ") + CorvelJournal::JobActivity::remainingText(left);
    }
    if (m_activityLabel->property("stalled").toBool() != stalled) {
        m_activityLabel->setProperty("stalled", stalled);
        m_activityLabel->style()->unpolish(m_activityLabel);
        m_activityLabel->style()->polish(m_activityLabel);
    }
    if (m_activityLabel->text() != text)
        m_activityLabel->setText(text);
}

void JobWorkWidget::setWork(const CorvelService::CurrentWork& work)
{
    if (work.text != m_work.text || work.technical_details != m_work.technical_details) {
        // No work keeps its line, blank, so the row keeps its height when its job stops.
        m_workLabel->setText(work.text.empty() ? QString(QChar::Nbsp) : boundedText(QString::fromStdString(work.text)));
        m_workLabel->setToolTip(plainToolTip(QString::fromStdString(work.technical_details)));
    }
    if (work.progress != m_work.progress) {
        // The wire carries a signed byte; anything outside 0..100 would leave the bar blank.
        m_progressBar->setValue(qBound(0, static_cast<int>(work.progress), 100));
    }
    m_work = work;
}

} // namespace CvJobs
