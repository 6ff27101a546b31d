#include "jobs/soft_wrap.h"

#include <QRegularExpression>

namespace CvJobs {

namespace {

QString breakLongPiece(const QString& piece, int chunkLength)
{
    if (chunkLength <= 0 || piece.size() <= chunkLength)
        return piece;
    QString result;
    result.reserve(piece.size() + piece.size() / chunkLength);
    for (int start = 0; start < piece.size(); start += chunkLength) {
        if (start > 0)
            result += ZeroWidthSpace;
        result += piece.midRef(start, chunkLength);
    }
    return result;
}

} // namespace

QString softWrap(const QString& text, int chunkLength)
{
    QString marked = text;
    marked.replace(QStringLiteral("\\"), QStringLiteral("\\") + ZeroWidthSpace);
    // Kept although the step above already consumed every backslash-slash pair.
    marked.replace(QStringLiteral("\\/"), QStringLiteral("\\/") + ZeroWidthSpace);

    static const QRegularExpression separator(QStringLiteral("(\\s|\\\\|\\/)"));
    QString result;
    result.reserve(marked.size() + marked.size() / qMax(1, chunkLength) + 1);
    int pieceStart = 0;
    auto it = separator.globalMatch(marked);
    while (it.hasNext()) {
        const int pieceEnd = it.next().capturedEnd();
        result += breakLongPiece(marked.mid(pieceStart, pieceEnd - pieceStart), chunkLength);
        pieceStart = pieceEnd;
    }
    result += breakLongPiece(marked.mid(pieceStart), chunkLength);
    return result;
}

} // namespace CvJobs
