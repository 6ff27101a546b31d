#pragma once

#include <QString>

namespace CvJobs {

inline constexpr QChar ZeroWidthSpace{0x200B};

// Adds zero-width spaces so long paths and tokens can wrap inside a narrow column: after every
// backslash, and inside every piece (ending at whitespace, a backslash or a slash) that is longer
// than chunkLength, after each full chunk of chunkLength characters.
QString softWrap(const QString& text, int chunkLength);

// Longest value a row's label lays out. Wrapped into a column a tenth of a window wide this is some
// three hundred lines; anything longer is a runaway value that would stall every layout of the table.
inline constexpr int MaxShownCharacters = 4000;

// The value itself, or its first MaxShownCharacters characters followed by an ellipsis.
QString boundedText(const QString& text);
// A tool tip that reads exactly as `text`, whatever markup it holds.
QString plainToolTip(const QString& text);

} // namespace CvJobs
