#pragma once

#include <QString>

namespace CvJobs {

inline constexpr QChar ZeroWidthSpace{0x200B};

// Adds zero-width spaces so long paths and tokens can wrap inside a narrow column: after every
// backslash, and inside every piece (ending at whitespace, a backslash or a slash) that is longer
// than chunkLength, after each full chunk of chunkLength characters.
QString softWrap(const QString& text, int chunkLength);

} // namespace CvJobs
