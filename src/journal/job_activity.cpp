#include "journal/job_activity.h"

namespace CorvelJournal {

void JobActivity::update(bool running, const QString& work, int progress, qint64 nowMs)
{
    if (!running) {
        m_running = false;
        m_samples.clear();
        return;
    }
    // A new activity (or progress starting over) is measured from scratch.
    const bool fresh = !m_running || work != m_work || progress < m_progress;
    if (fresh) {
        m_running = true;
        m_startMs = nowMs;
        m_lastMoveMs = nowMs;
        m_samples.clear();
    } else if (progress != m_progress) {
        m_lastMoveMs = nowMs;
    }
    m_work = work;
    m_progress = progress;
    if (m_samples.empty() || m_samples.back().progress != progress)
        m_samples.push_back({nowMs, progress});
    while (m_samples.size() > 2 && nowMs - m_samples[1].atMs >= RateWindowMs)
        m_samples.pop_front();
}

qint64 JobActivity::remainingMs(qint64 nowMs) const
{
    if (!m_running || m_progress < MinEtaProgress || m_progress >= 100 || m_samples.size() < 2)
        return -1;
    const Sample& first = m_samples.front();
    const qint64 span = nowMs - first.atMs;
    const int advanced = m_progress - first.progress;
    if (span < MinEtaSamplesMs || advanced <= 0)
        return -1;
    // Time since the last step counts, so a slowing job's estimate grows between steps.
    return span * (100 - m_progress) / advanced;
}

QString JobActivity::clockText(qint64 ms)
{
    const qint64 seconds = qMax<qint64>(0, ms / 1000);
    if (seconds < 3600)
        return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return QStringLiteral("%1:%2:%3")
        .arg(seconds / 3600)
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

QString JobActivity::remainingText(qint64 ms)
{
    return QStringLiteral("about %1 min left").arg(qMax<qint64>(1, (ms + 30000) / 60000));
}

} // namespace CorvelJournal
