#pragma once

#include "CorvelService.h"
#include "widgets/icon_font.h"

#include <QList>
#include <QPointer>
#include <QWidget>

#include <memory>
#include <vector>

class QGridLayout;
class QLabel;
class QVBoxLayout;

namespace CvJobs {

class JobActionButtonsWidget;

// The rows of the jobs table, rebuilt from scratch whenever the service's list of jobs differs
// from the one last shown.
class JobListWidget : public QWidget {
    Q_OBJECT
public:
    static constexpr int ColumnCount = 8;

    explicit JobListWidget(const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    // The client handed to rows built from now on.
    void setClient(std::shared_ptr<CorvelService::CorvelServiceIf> client);

    // Rebuilds the rows unless the list equals the one shown; true when it rebuilt. While a row
    // has a dialog open the rebuild waits for a later call.
    bool setJobs(const std::vector<CorvelService::JobDescription>& jobs);
    // Forgets the shown list so that the next setJobs rebuilds (rows then get the current client).
    void invalidate();

    const std::vector<CorvelService::JobDescription>& jobs() const { return m_cache; }
    bool hasRows() const { return m_hasRows; }
    int rowCount() const;
    QLabel* placeholder() const { return m_placeholder; }
    QGridLayout* grid() const { return m_grid; }
    // The widget of a shown row's column, or null.
    QWidget* cell(int row, int column) const;

signals:
    void needsUpdate();

private:
    void clearRows();
    void newRowsWidget();
    void addRow(const CorvelService::JobDescription& job, int row);
    bool anyRowBusy() const;

    std::shared_ptr<CorvelService::CorvelServiceIf> m_client;
    CorvelWidgets::IconFont m_iconFont;
    QVBoxLayout* m_layout;
    QWidget* m_rows = nullptr;
    QGridLayout* m_grid = nullptr;
    QLabel* m_placeholder;
    std::vector<CorvelService::JobDescription> m_cache;
    QList<QPointer<JobActionButtonsWidget>> m_actionWidgets;
    bool m_cacheValid = true;
    bool m_hasRows = false;
};

} // namespace CvJobs
