#pragma once

#include "CorvelService.h"
#include "service/service_call.h"
#include "service/service_connection.h"
#include "widgets/icon_font.h"

#include <QTimer>
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

// The jobs table of the home page: asks the service for its jobs every 500 ms and shows what
// changed. The call runs on a thread of its own, so a slow or silent service never holds up the
// window; while the service is away a banner says so and the rows wait, greyed, for its return.
class JobTableWidget : public QWidget {
    Q_OBJECT
public:
    static constexpr int RefreshIntervalMs = 500;
    // A poll without an answer for this long counts as a service that does not respond.
    static constexpr int NotRespondingMs = 2000;
    // While the table is on screen a returning service is found again within this time.
    static constexpr int MaxReconnectDelayShownMs = 2500;
    static constexpr int MaxReconnectDelayHiddenMs = 30000;

    // The connection must outlive the table.
    JobTableWidget(CorvelService::ServiceConnection& connection, const CorvelWidgets::IconFont& iconFont,
                   QWidget* parent = nullptr);
    ~JobTableWidget() override;

    // What the rows' actions measure their settling time by (the system clock unless set).
    void setClock(std::shared_ptr<Corvel::Clock> clock);

    bool isServiceLost() const { return m_outageReported; }
    bool isPollRunning() const { return m_pollRunning; }
    // True while the rows' actions are off: the service is unreachable or not answering.
    bool isServiceUnavailable() const { return m_unavailable; }
    QLabel* banner() const { return m_banner; }
    JobListWidget* jobList() const { return m_list; }
    JobTableHeaderWidget* header() const { return m_header; }
    QTimer* refreshTimer() { return &m_timer; }

public slots:
    // Asks the service for its jobs unless a request is still out (a tick then passes).
    void refresh();
    // The same, and when a request is still out, once more as soon as it is back.
    void refreshSoon();
    // Scrolls the job's row into view and highlights it briefly, now or once it is listed.
    void revealJob(const std::string& jobId);

signals:
    // A request came back and what it brought is on screen.
    void polled();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Poll {
        // A reconnection reports twice: once connected (or failed), once answered.
        enum Stage { Connected, ConnectFailed, Answered } stage = Answered;
        CorvelService::ServiceConnection::Client client;
        CorvelService::CallResult result;
        std::vector<CorvelService::JobDescription> jobs;
    };
    struct Channel;

    void startPoll(CorvelService::ServiceConnection::Client client, bool reconnect);
    void finishPoll(Poll& poll);
    void updateServiceState();
    // The header as tall as its captions need at its width.
    void fitHeader();
    void takeClient(const std::shared_ptr<CorvelService::CorvelServiceIf>& client);

    CorvelService::ServiceConnection& m_connection;
    std::shared_ptr<JobColumns> m_columns;
    QLabel* m_banner;
    JobTableHeaderWidget* m_header;
    JobListWidget* m_list;
    QScrollArea* m_headerScrollArea;
    QScrollArea* m_listScrollArea;
    QGraphicsOpacityEffect* m_greyed;
    QTimer m_timer;
    // Fires when the request out has gone unanswered for NotRespondingMs.
    QTimer m_silence;
    std::shared_ptr<Channel> m_channel;
    bool m_pollRunning = false;
    bool m_refreshAgain = false;
    bool m_unavailable = false;
    // An outage is logged once; the calls that fail during it stay quiet.
    bool m_outageReported = false;
};

} // namespace CvJobs
