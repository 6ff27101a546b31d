#include "jobs/soft_wrap.h"

#include <QRegularExpression>
#include <QTextDocument>

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

QString boundedText(const QString& text)
{
    if (text.size() <= MaxShownCharacters)
        return text;
    int cut = MaxShownCharacters;
    if (text.at(cut - 1).isHighSurrogate())
        --cut;
    return text.left(cut) + QChar(0x2026);
}

QString plainToolTip(const QString& text)
{
    const QString shown = boundedText(text);
    // Tool tips guess their format; a text the guess would render is handed over already escaped.
    return Qt::mightBeRichText(shown) ? Qt::convertFromPlainText(shown, Qt::WhiteSpaceNormal) : shown;
}

} // namespace CvJobs
