#pragma once

// Log lines and operator texts of the journal, in one place.
namespace CorvelJournal::Texts {

inline constexpr const char* LogSetAside =
    "Journal database %1 could not be used (%2); it was set aside as %3 and a new journal started.";
inline constexpr const char* NoteSetAside = "The journal kept until %1 could not be used (%2); it was set aside as %3.";
inline constexpr const char* LogNoDatabase =
    "Journal database %1 could not be opened (%2); jobs are not journaled in this session.";
inline constexpr const char* LogRowsLost = "Journal rows not written (%1); the journal goes on with later changes.";
inline constexpr const char* LogRowsWrittenAgain = "Journal written again; %1 changes were lost.";
inline constexpr const char* LogQueueFull = "Journal writer is behind; changes are dropped until it catches up.";
inline constexpr const char* LogPruned = "Journal: %1 old jobs removed.";

inline constexpr const char* FirstSeen = "first seen %1";
inline constexpr const char* FirstSeenAt = "first seen %1 at %2 %";
inline constexpr const char* NotObserved = "not observed from %1 to %2";
inline constexpr const char* NotAnswering = "not observed from %1 to %2 (the Corvel service did not answer)";
inline constexpr const char* Substatus = "substatus: %1";
inline constexpr const char* Work = "%1";
inline constexpr const char* Progress = "%1 %";
inline constexpr const char* Action = "%1 requested by %2";
inline constexpr const char* Launch = "started from this console by %1";
inline constexpr const char* Gone = "no longer listed by the service";
inline constexpr const char* Stalled = "no progress for 10 min";

} // namespace CorvelJournal::Texts
