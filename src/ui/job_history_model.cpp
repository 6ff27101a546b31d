#include "ui/job_history_model.h"

#include "journal/journal_report.h"

#include <QDateTime>

namespace Corvel {

using CorvelJournal::JournalRecord;

JobHistoryModel::JobHistoryModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void JobHistoryModel::setRecords(std::vector<JournalRecord> records)
{
    beginResetModel();
    m_records = std::move(records);
    m_haystacks.clear();
    m_haystacks.reserve(m_records.size());
    for (const JournalRecord& r : m_records) {
        const CorvelJournal::JournalJob& j = r.job;
        m_haystacks.push_back(QStringList{j.id, CorvelJournal::typeName(j.type), j.client, j.device, j.recoveryPoint,
                                          j.description, CorvelJournal::finalStatusText(r), r.startedBy, j.vmName,
                                          j.mountPoint, j.localCachePath}
                                  .join('\n')
                                  .toLower());
    }
    applyFilter();
    endResetModel();
}

void JobHistoryModel::setFilter(const QString& status, const QString& type, const QString& text)
{
    if (status == m_status && type == m_type && text == m_text)
        return;
    beginResetModel();
    m_status = status;
    m_type = type;
    m_text = text.trimmed().toLower();
    applyFilter();
    endResetModel();
}

void JobHistoryModel::applyFilter()
{
    m_shown.clear();
    for (size_t i = 0; i < m_records.size(); ++i) {
        const JournalRecord& r = m_records[i];
        if (!m_status.isEmpty() && CorvelJournal::statusName(r.job.status) != m_status)
            continue;
        if (!m_type.isEmpty() && CorvelJournal::typeName(r.job.type) != m_type)
            continue;
        if (!m_text.isEmpty() && !m_haystacks[i].contains(m_text))
            continue;
        m_shown.push_back(static_cast<int>(i));
    }
}

const JournalRecord* JobHistoryModel::record(int row) const
{
    return row >= 0 && row < static_cast<int>(m_shown.size()) ? &m_records[m_shown[row]] : nullptr;
}

std::vector<JournalRecord> JobHistoryModel::shownRecords() const
{
    std::vector<JournalRecord> out;
    out.reserve(m_shown.size());
    for (int i : m_shown)
        out.push_back(m_records[i]);
    return out;
}

int JobHistoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_shown.size());
}

int JobHistoryModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant JobHistoryModel::data(const QModelIndex& index, int role) const
{
    const JournalRecord* r = record(index.row());
    if (!r || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return {};
    if (role == Qt::ToolTipRole)
        return r->job.description.isEmpty() ? r->job.id : r->job.description + '\n' + r->job.id;
    auto when = [](qint64 ms) {
        return QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    };
    switch (index.column()) {
    case Type:
        return CorvelJournal::typeName(r->job.type);
    case Client:
        return r->job.client;
    case Device:
        return r->job.device;
    case RecoveryPoint:
        return r->job.recoveryPoint;
    case Started:
        return when(r->firstSeenMs);
    case Ended:
        return when(r->endMs());
    case Duration:
        return CorvelJournal::durationText(r->endMs() - r->firstSeenMs);
    case FinalStatus:
        return CorvelJournal::finalStatusText(*r);
    }
    return {};
}

QVariant JobHistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char* const captions[] = {
        "Type", "Client", "Device", "Recovery point", "Started", "Ended or last seen", "Duration", "Final status"};
    return section >= 0 && section < ColumnCount ? QString::fromLatin1(captions[section]) : QVariant();
}

} // namespace Corvel
