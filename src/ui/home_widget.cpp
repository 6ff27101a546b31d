#include "ui/home_widget.h"
#include "widgets/screen_scale.h"

#include "core/style_sheet.h"
#include "jobs/job_list_widget.h"
#include "jobs/job_table_widget.h"
#include "ui/ui_texts.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace Corvel {

namespace {
constexpr int MinimumJobsHeight = 460;
} // namespace

HomeWidget::HomeWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
                       QWidget* parent)
    : QWidget(parent)
    , m_jobTable(new CvJobs::JobTableWidget(connection, iconFont))
    , m_history(new QPushButton("Job History", this))
    , m_newRecovery(new QPushButton(UiTexts::StartNewRecovery, this))
{
    auto* frame = new QFrame(this);
    frame->setObjectName("home_jobs_frame");
    auto* frameLayout = new QVBoxLayout(frame);
    frameLayout->setContentsMargins(0, 0, 0, 0);
    frameLayout->addWidget(m_jobTable);
    // The main window opens at its minimum height: leave room for a handful of jobs.
    frame->setMinimumHeight(qRound(MinimumJobsHeight * CorvelWidgets::screenScale()));

    m_newRecovery->setObjectName("button_primary_small");
    m_newRecovery->setIcon(iconFont.icon(CorvelWidgets::Glyph::NewRecovery,
                                         {{"color", "white"}, {"color-active", "white"}, {"scale", 1.0}}));
    m_newRecovery->setCursor(Qt::PointingHandCursor);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->setSpacing(12);
    layout->addWidget(frame, 1);
    m_history->setObjectName("button_secondary");
    m_history->setAccessibleName("Job History");
    m_history->setCursor(Qt::PointingHandCursor);
    m_history->setToolTip("Job History (Ctrl+H)");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_history, 0, Qt::AlignBottom);
    buttons->addWidget(m_newRecovery, 0, Qt::AlignBottom);
    layout->addLayout(buttons);
    // Top to bottom: the jobs, then the buttons under them.
    m_jobTable->jobList()->setControlsAfter({m_history, m_newRecovery});

    connect(m_newRecovery, &QPushButton::clicked, this, &HomeWidget::newRecoveryRequested);
    connect(m_history, &QPushButton::clicked, this, &HomeWidget::historyRequested);
}

} // namespace Corvel
