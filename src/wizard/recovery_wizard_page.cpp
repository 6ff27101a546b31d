#include "wizard/recovery_wizard_page.h"

#include "widgets/cv_wizard_button.h"
#include "wizard/page_flow.h"

#include <QAbstractButton>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QVBoxLayout>

namespace Corvel {

namespace {
int g_screenHeightOverride = 0;
}

RecoveryWizardPage::RecoveryWizardPage(const CorvelWidgets::IconFont& iconFont, const QString& title, QWidget* parent)
    : QFrame(parent)
    , m_iconFont(iconFont)
    , m_title(title)
    , m_contentLayout(new QVBoxLayout)
    , m_outerLayout(new QVBoxLayout)
{
    setObjectName("wizard_page");
}

void RecoveryWizardPage::onPageShown() {}

QSize RecoveryWizardPage::sizeHint() const
{
    if (!m_scrolledContent)
        return QFrame::sizeHint();
    const QSize content = m_scrolledContent->sizeHint().expandedTo(m_scrolledContent->minimumSizeHint());
    // Room for the title stripe and the frame around the page.
    const int available = qMax(200, m_screenHeight - 140);
    return QSize(content.width() + 80 + style()->pixelMetric(QStyle::PM_ScrollBarExtent),
                 qMin(content.height() + 24, available));
}

void RecoveryWizardPage::setScreenHeightOverride(int height)
{
    g_screenHeightOverride = height;
}

void RecoveryWizardPage::connectNext(QAbstractButton* button, WizardPage page)
{
    connect(button, &QAbstractButton::clicked, this, [this, page] { emit nextPageRequested(page); });
}

void RecoveryWizardPage::connectNext(CorvelWidgets::CvWizardButton* button, WizardPage page)
{
    connect(button, &CorvelWidgets::CvWizardButton::clicked, this, [this, page] { emit nextPageRequested(page); });
}

void RecoveryWizardPage::connectBack(QAbstractButton* button)
{
    connect(button, &QAbstractButton::clicked, this, &RecoveryWizardPage::previousPageRequested);
}

void RecoveryWizardPage::finishLayout(bool disableHorizontalScroll)
{
    int screenHeight = g_screenHeightOverride;
    if (screenHeight <= 0 && QGuiApplication::primaryScreen())
        screenHeight = QGuiApplication::primaryScreen()->geometry().height();
    if (!PageFlow::pagesScroll(screenHeight)) {
        delete m_outerLayout;
        m_outerLayout = nullptr;
        setLayout(m_contentLayout);
        return;
    }
    m_contentLayout->setSizeConstraint(QLayout::SetMinAndMaxSize);
    auto* scrollArea = new QScrollArea;
    scrollArea->setObjectName("page_scroll_area");
    scrollArea->setWidgetResizable(true);
    scrollArea->verticalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    scrollArea->horizontalScrollBar()->setObjectName("new_job_wizard_list_scroll_bar");
    if (disableHorizontalScroll)
        scrollArea->horizontalScrollBar()->setEnabled(false);
    auto* inner = new QWidget;
    inner->setObjectName("page_scroll_content");
    inner->setLayout(m_contentLayout);
    scrollArea->viewport()->setAutoFillBackground(false);
    scrollArea->setWidget(inner);
    m_scrolledContent = inner;
    m_screenHeight = screenHeight;
    m_outerLayout->addWidget(scrollArea);
    m_outerLayout->setContentsMargins(10, 10, 10, 10);
    setLayout(m_outerLayout);
}

} // namespace Corvel
