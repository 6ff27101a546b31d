#include "wizard/recovery_wizard_page.h"

#include "widgets/cv_wizard_button.h"
#include "wizard/page_flow.h"
#include "wizard/pages/page_parts.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
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

void RecoveryWizardPage::focusFirstInput()
{
    QWidget* primary = nullptr;
    for (QWidget* widget = nextInFocusChain(); widget && widget != this; widget = widget->nextInFocusChain()) {
        if (!isAncestorOf(widget) || !widget->isEnabled() || !widget->isVisibleTo(this) ||
            !(widget->focusPolicy() & Qt::TabFocus))
            continue;
        if (!qobject_cast<QAbstractButton*>(widget) || qobject_cast<QRadioButton*>(widget) ||
            qobject_cast<QCheckBox*>(widget)) {
            widget->setFocus(Qt::OtherFocusReason);
            return;
        }
        if (!primary && widget->objectName() == QLatin1String("button_primary"))
            primary = widget;
    }
    if (primary)
        primary->setFocus(Qt::OtherFocusReason);
}

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

void RecoveryWizardPage::connectTile(CorvelWidgets::CvWizardButton* tile, std::function<void()> store, WizardPage page)
{
    connect(tile, &CorvelWidgets::CvWizardButton::clicked, this, [this, store = std::move(store), page] {
        store();
        emit nextPageRequested(page);
    });
}

void RecoveryWizardPage::layoutTiles(const QString& header, const QList<CorvelWidgets::CvWizardButton*>& tiles,
                                     QPushButton* button, int columns)
{
    QVBoxLayout* layout = contentLayout();
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(PageParts::label("<b>" + header + "</b>", "sub_header"));
    auto* grid = new QGridLayout;
    grid->setSpacing(0);
    grid->setHorizontalSpacing(columns > 1 ? 10 : 0);
    for (int i = 0; i < tiles.size(); ++i) {
        tiles[i]->setProperty("compact", columns > 1);
        grid->addWidget(tiles[i], i / columns, i % columns);
    }
    layout->addLayout(grid);
    layout->addLayout(PageParts::footer({}, {button}));
    finishLayout(false);
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
