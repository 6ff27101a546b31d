#include "ui/main_window_tabs_widget.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>

namespace Corvel {

namespace {
constexpr int CurrentTabWeight = 99;
constexpr int OtherTabWeight = 50;
} // namespace

MainWindowTabsWidget::MainWindowTabsWidget(const QList<Tab>& tabs, QWidget* parent)
    : QFrame(parent), m_list(new QListWidget(this)), m_stack(new QStackedWidget(this))
{
    setObjectName("main_window_tabs_widget");
    m_list->setObjectName("main_window_tabs_widget_list");
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    for (const Tab& tab : tabs) {
        m_list->addItem(new QListWidgetItem(tab.icon, tab.label));
        m_stack->addWidget(tab.page);
    }

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_list, 0);
    layout->addWidget(m_stack, 1);

    connect(m_list, &QListWidget::currentRowChanged, this, &MainWindowTabsWidget::showTab);
    m_list->setCurrentRow(0);
}

void MainWindowTabsWidget::showTab(int row)
{
    if (row < 0)
        return;
    m_stack->setCurrentIndex(row);
    for (int i = 0; i < m_list->count(); ++i) {
        QFont font = this->font();
        font.setWeight(i == row ? CurrentTabWeight : OtherTabWeight);
        m_list->item(i)->setFont(font);
    }
}

} // namespace Corvel
