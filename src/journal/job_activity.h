#pragma once

#include <QString>
#include <QtGlobal>

#include <deque>

namespace CorvelJournal {

// How a running job's current activity is going: how long it has run, when it may end at its
// recent rate, and whether it has stood still. Fed with every state the console sees.
class JobActivity {
public:
    static constexpr int MinEtaProgress = 5;
    static constexpr qint64 MinEtaSamplesMs = 30000;
    // The rate is taken over this much of the recent past.
    static constexpr qint64 RateWindowMs = 5 * 60000;
    static constexpr qint64 StallMs = 10 * 60000;

    // `running`: the job is in its running state; otherwise nothing is measured.
    void update(bool running, const QString& work, int progress, qint64 nowMs);

    bool isRunning() const { return m_running; }
    qint64 elapsedMs(qint64 nowMs) const { return m_running ? nowMs - m_startMs : 0; }
    // Milliseconds left at the recent rate, or -1 when there is no estimate yet.
    qint64 remainingMs(qint64 nowMs) const;
    bool isStalled(qint64 nowMs) const { return m_running && nowMs - m_lastMoveMs >= StallMs; }

    // "12:05", "1:02:33"
    static QString clockText(qint64 ms);
    // "about 12 min left" (at least one minute).
    static QString remainingText(qint64 ms);

private:
    struct Sample {
        qint64 atMs;
        int progress;
    };

    bool m_running = false;
    QString m_work;
    int m_progress = -1;
    qint64 m_startMs = 0;
    qint64 m_lastMoveMs = 0;
    std::deque<Sample> m_samples;
};

} // namespace CorvelJournal
