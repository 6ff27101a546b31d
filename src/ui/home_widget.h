#pragma once

#include "service/service_connection.h"

#include <QWidget>

#include <memory>

class QPushButton;

namespace CorvelWidgets {
class IconFont;
}
namespace CvJobs {
class JobTableWidget;
}

namespace Corvel {

// The Home page: the jobs table and the button that starts a new recovery.
class HomeWidget : public QWidget {
    Q_OBJECT
public:
    HomeWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
               QWidget* parent = nullptr);

    CvJobs::JobTableWidget* jobTable() const { return m_jobTable; }
    QPushButton* historyButton() const { return m_history; }

signals:
    void newRecoveryRequested();
    void historyRequested();

private:
    CvJobs::JobTableWidget* m_jobTable;
    // Made in the keyboard's order, left to right: the focus chain starts as the order of making.
    QPushButton* m_history;
    QPushButton* m_newRecovery;
};

} // namespace Corvel
