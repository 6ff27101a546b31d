#pragma once

#include <QFrame>
#include <QIcon>
#include <QList>

class QListWidget;
class QShortcut;
class QStackedWidget;

namespace Corvel {

// The vertical tab strip on the left of the main window and the page stack beside it.
class MainWindowTabsWidget : public QFrame {
    Q_OBJECT
public:
    struct Tab {
        QIcon icon;
        QString label;
        QWidget* page;
    };

    explicit MainWindowTabsWidget(const QList<Tab>& tabs, QWidget* parent = nullptr);

    QListWidget* list() const { return m_list; }
    QStackedWidget* stack() const { return m_stack; }
    // Ctrl+1 for the first tab, Ctrl+2 for the second, ...
    const QList<QShortcut*>& shortcuts() const { return m_shortcuts; }

private:
    void showTab(int row);

    QListWidget* m_list;
    QStackedWidget* m_stack;
    QList<QShortcut*> m_shortcuts;
};

} // namespace Corvel
