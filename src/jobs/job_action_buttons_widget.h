#pragma once

#include "CorvelService.h"
#include "core/clock.h"
#include "widgets/icon_font.h"

#include <QList>
#include <QWidget>

#include <functional>
#include <memory>

class QPushButton;
class QVBoxLayout;

namespace CorvelService {
class ServiceConnection;
}

namespace CvJobs {

class JobActionButton;

// The ACTION column: one button per action the service allows now, each calling the service
// directly and asking the table for an immediate refresh on success.
class JobActionButtonsWidget : public QWidget {
    Q_OBJECT
public:
    // A press this soon after the row moved or its buttons changed was aimed at something else.
    static constexpr int SettleMs = 600;

    JobActionButtonsWidget(const CorvelService::JobDescription& job,
                           CorvelService::ServiceConnection* connection,
                           const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    // Takes the job's latest state: new buttons only when its actions changed, and the buttons
    // enabled again after an action locked them.
    void setJob(const CorvelService::JobDescription& job);

    const CorvelService::JobDescription& job() const { return m_job; }
    QList<JobActionButton*> buttons() const { return m_buttons; }
    // "Please wait" when the job allows nothing right now, else null.
    QPushButton* waitButton() const { return m_waitButton; }
    // True while a dialog of this row is open: the row must outlive it.
    bool isBusy() const { return m_busy; }

    void setClock(std::shared_ptr<Corvel::Clock> clock);
    // The row moved on screen: presses are ignored until it has stood still for SettleMs.
    void markMoved();

public slots:
    void onStartJob();
    void onStopJob();
    void onCancelJob();
    void onDeleteJob();

signals:
    void needsUpdate();
    // The service accepted `action` ("Start", "Stop", "Cancel", "Delete", "Keep VM", "Delete VM").
    void actionTaken(const QString& jobId, const QString& action);
    // Shift+Tab brought the keyboard focus to one of this row's controls.
    void focusedBackward();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum class VmChoice { Abandon, Delete, Keep };
    VmChoice askAboutVm();
    bool storeVmChoice(bool deleteVm);
    // The action's call through the connection; true when the service took it.
    bool callService(const std::function<void(CorvelService::CorvelServiceIf&)>& call);
    void buildButtons();
    void finishAction(bool succeeded, const char* action);
    void setButtonsEnabled(bool enabled);
    // False (and logged) when the row changed under the pointer a moment ago.
    bool settled(const char* action) const;
    // Puts the focus back on this row's first control when the row itself holds it.
    void refocus();

    CorvelService::JobDescription m_job;
    CorvelService::ServiceConnection* m_connection;
    CorvelWidgets::IconFont m_iconFont;
    QVBoxLayout* m_layout;
    QList<JobActionButton*> m_buttons;
    QPushButton* m_waitButton = nullptr;
    bool m_busy = false;
    std::shared_ptr<Corvel::Clock> m_clock = Corvel::Clock::system();
    qint64 m_changedAt = 0;
};

} // namespace CvJobs
