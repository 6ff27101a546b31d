#pragma once

#include "journal/journal_records.h"

#include <QAbstractTableModel>

#include <vector>

namespace Corvel {

// The journaled jobs of the history window, newest first, narrowed by status, type and text.
class JobHistoryModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Type, Client, Device, RecoveryPoint, Started, Ended, Duration, FinalStatus, ColumnCount };

    explicit JobHistoryModel(QObject* parent = nullptr);

    void setRecords(std::vector<CorvelJournal::JournalRecord> records);
    // Empty texts match everything; `text` is looked for in every field shown and the job's id.
    void setFilter(const QString& status, const QString& type, const QString& text);

    const CorvelJournal::JournalRecord* record(int row) const;
    std::vector<CorvelJournal::JournalRecord> shownRecords() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void applyFilter();

    std::vector<CorvelJournal::JournalRecord> m_records;
    // Lower-cased words of each record, made once so a keystroke only searches.
    std::vector<QString> m_haystacks;
    std::vector<int> m_shown;
    QString m_status;
    QString m_type;
    QString m_text;
};

} // namespace Corvel
