#include "ui/main_window_tabs_widget.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QShortcut>
#include <QStackedWidget>

namespace Corvel {

namespace {
constexpr int CurrentTabWeight = 99;
constexpr int OtherTabWeight = 50;
} // namespace

MainWindowTabsWidget::MainWindowTabsWidget(const QList<Tab>& tabs, QWidget* parent)
    : QFrame(parent)
    , m_list(new QListWidget(this))
    , m_stack(new QStackedWidget(this))
{
    setObjectName("main_window_tabs_widget");
    m_list->setObjectName("main_window_tabs_widget_list");
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    // Reachable by Tab (the arrow keys then move between pages); a click leaves no focus ring.
    m_list->setFocusPolicy(Qt::TabFocus);
    m_list->setAccessibleName(QStringLiteral("Pages"));
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);

    for (int row = 0; row < tabs.size(); ++row) {
        const Tab& tab = tabs[row];
        auto* item = new QListWidgetItem(tab.icon, tab.label);
        if (row < 9) {
            const QKeySequence keys(Qt::CTRL | (Qt::Key_1 + row));
            item->setToolTip(tab.label + " (" + keys.toString(QKeySequence::NativeText) + ")");
            auto* shortcut = new QShortcut(keys, this);
            connect(shortcut, &QShortcut::activated, this, [this, row] { m_list->setCurrentRow(row); });
            m_shortcuts.append(shortcut);
        }
        m_list->addItem(item);
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
