#pragma once

#include "widgets/custom_bar_window.h"

#include <memory>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTableView;

namespace CorvelJournal {
class JournalDatabase;
}

namespace Corvel {

class JobHistoryModel;

// Every job the journal kept, newest first, with a filter; the chosen job's timeline, its report
// to copy or save, and the list shown as CSV. Reads the journal file; never writes it.
class JobHistoryWindow : public CustomBarWindow {
    Q_OBJECT
public:
    JobHistoryWindow(const CorvelWidgets::IconFont& iconFont, const QString& journalPath, QWidget* parent = nullptr);
    ~JobHistoryWindow() override;

    // Reads the journal again, keeping the filter.
    void reload();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void applyFilter();
    void showSelected();
    QString selectedReport() const;
    void copyReport();
    void saveReport();
    void exportCsv();

    QString m_path;
    std::unique_ptr<CorvelJournal::JournalDatabase> m_db;
    JobHistoryModel* m_model;
    QLabel* m_notes;
    QLineEdit* m_text;
    QComboBox* m_status;
    QComboBox* m_type;
    QTableView* m_list;
    QPlainTextEdit* m_timeline;
    QPushButton* m_copy;
    QPushButton* m_save;
    QPushButton* m_export;
};

} // namespace Corvel
