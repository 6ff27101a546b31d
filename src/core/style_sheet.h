#pragma once

#include <QString>
#include <QVector>

#include <utility>

namespace Corvel {

using TextVariables = QVector<std::pair<QString, QString>>;
using SizeVariables = QVector<std::pair<QString, QVector<int>>>;

const TextVariables& styleTextVariables();
const SizeVariables& styleSizeVariables();

// Reads the sheet and resolves its variables for a screen of `scale` (logical DPI over 96);
// empty when unreadable.
QString loadStyleSheet(const QString& path, double scale);
// Every literal length in pixels ("16px") multiplied by the scale, rounded half up: the sheet's
// fixed sizes grow with the screen like its size variables.
QString scaleLengths(const QString& text, double scale);
QString processStyleSheet(const QString& text, double scale);
// Same, against explicit tables (the diagnostics are checked against these).
QString processStyleSheet(const QString& text, double scale, const TextVariables& texts, const SizeVariables& sizes);

} // namespace Corvel
