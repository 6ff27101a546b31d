#pragma once

#include "CorvelService.h"
#include "service/service_connection.h"
#include "widgets/icon_font.h"

#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QScrollArea;

namespace CvJobs {

class JobListWidget;
class JobTableHeaderWidget;

// The jobs table of the home page: polls the service every 500 ms and rebuilds its rows when the
// list of jobs changed.
class JobTableWidget : public QWidget {
    Q_OBJECT
public:
    static constexpr int RefreshIntervalMs = 500;

    // The connection must outlive the table.
    JobTableWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
                   QWidget* parent = nullptr);

    bool isServiceLost() const { return m_outageReported; }
    JobListWidget* jobList() const { return m_list; }
    JobTableHeaderWidget* header() const { return m_header; }
    QTimer* refreshTimer() { return &m_timer; }

public slots:
    void refresh();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void takeClient(const std::shared_ptr<CorvelService::CorvelServiceIf>& client);

    CorvelService::ServiceConnection& m_connection;
    JobTableHeaderWidget* m_header;
    JobListWidget* m_list;
    QScrollArea* m_headerScrollArea;
    QScrollArea* m_listScrollArea;
    QTimer m_timer;
    // An outage is logged once; the calls that fail during it stay quiet.
    bool m_outageReported = false;
};

} // namespace CvJobs
