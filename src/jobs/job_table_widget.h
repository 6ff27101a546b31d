#pragma once

#include "CorvelService.h"
#include "platform/platform.h"
#include "service/service_connection.h"
#include "widgets/icon_font.h"

#include <QWidget>

#include <memory>
#include <vector>

class QGraphicsOpacityEffect;
class QLabel;
class QScrollArea;

namespace CvJobs {

class JobColumns;
class JobListWidget;
class JobTableHeaderWidget;

// The jobs table of the home page: shows the jobs the connection's poll brings, twice a second,
// and what changed. While the service is away a banner says so and the rows wait, greyed, for its
// return.
class JobTableWidget : public QWidget {
    Q_OBJECT
public:
    static constexpr int RefreshIntervalMs = CorvelService::ServiceConnection::PollIntervalMs;
    // While the table is on screen a returning service is found again within this time.
    static constexpr int MaxReconnectDelayShownMs = 2500;
    static constexpr int MaxReconnectDelayHiddenMs = 30000;

    // The connection must outlive the table.
    JobTableWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
                   QWidget* parent = nullptr);

    // What the rows' actions measure their settling time by (the system clock unless set).
    void setClock(std::shared_ptr<Corvel::Clock> clock);

    // What the rows' hand-off entries open folders and virtual machines with (the system's unless set).
    void setDesktop(std::shared_ptr<CorvelPlatform::Desktop> desktop) { m_desktop = std::move(desktop); }
    CorvelPlatform::Desktop& desktop() const { return *m_desktop; }

    // True while the rows' actions are off: the service is unreachable or not answering.
    bool isServiceUnavailable() const { return m_unavailable; }
    JobListWidget* jobList() const { return m_list; }

public slots:
    // Asks the service for its jobs now, or as soon as the request that is out has come back.
    void refresh();
    // Scrolls the job's row into view and highlights it briefly, now or once it is listed.
    void revealJob(const std::string& jobId);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void updateServiceState();
    // The header as tall as its captions need at its width.
    void fitHeader();

    CorvelService::ServiceConnection& m_connection;
    std::shared_ptr<JobColumns> m_columns;
    QLabel* m_banner;
    JobTableHeaderWidget* m_header;
    JobListWidget* m_list;
    QScrollArea* m_headerScrollArea;
    QScrollArea* m_listScrollArea;
    QGraphicsOpacityEffect* m_greyed;
    bool m_unavailable = false;
    std::shared_ptr<CorvelPlatform::Desktop> m_desktop = CorvelPlatform::systemDesktop();
};

} // namespace CvJobs
