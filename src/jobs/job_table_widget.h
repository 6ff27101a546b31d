#pragma once

#include "CorvelService.h"
#include "widgets/icon_font.h"

#include <QElapsedTimer>
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
    using ServiceClient = std::shared_ptr<CorvelService::CorvelServiceIf>;
    using ClientFactory = std::function<ServiceClient()>;

    static constexpr int RefreshIntervalMs = 500;
    static constexpr int DefaultReconnectIntervalMs = 3000;

    JobTableWidget(ServiceClient client, const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    // A client that failed in transport never works again; the factory makes its replacement.
    void setClientFactory(ClientFactory factory);
    void setReconnectInterval(int milliseconds);

    ServiceClient client() const { return m_client; }
    bool isServiceLost() const { return m_serviceLost; }
    JobListWidget* jobList() const { return m_list; }
    JobTableHeaderWidget* header() const { return m_header; }
    QTimer* refreshTimer() { return &m_timer; }

public slots:
    void refresh();

signals:
    // Emitted after a lost connection was replaced, so other holders can take the new client.
    void serviceClientChanged(std::shared_ptr<CorvelService::CorvelServiceIf> client);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool reconnect();

    ServiceClient m_client;
    ClientFactory m_clientFactory;
    JobTableHeaderWidget* m_header;
    JobListWidget* m_list;
    QScrollArea* m_headerScrollArea;
    QScrollArea* m_listScrollArea;
    QTimer m_timer;
    QElapsedTimer m_sinceReconnectAttempt;
    int m_reconnectIntervalMs = DefaultReconnectIntervalMs;
    // Doubles after each failed attempt, up to ten times the base, so a long outage does not
    // fill the log with the factory's connection failures.
    int m_nextReconnectDelayMs = DefaultReconnectIntervalMs;
    bool m_serviceLost = false;
};

} // namespace CvJobs
