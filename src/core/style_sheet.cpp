#include "core/style_sheet.h"

#include "core/palette.h"

#include <QDebug>
#include <QFile>
#include <QRegularExpression>

#include <cmath>

namespace Corvel {

const TextVariables& styleTextVariables()
{
    static const TextVariables variables = {
        {"$job_item_font_size", "300 11pt"},
        {"$push_button_height", "36px"},
        {"$primary_color", Palette::Primary},
        {"$darken_primary", Palette::DarkenPrimary},
        {"$deep_dark_primary", Palette::DeepDarkPrimary},
        {"$secondary_color", Palette::Secondary},
        {"$bright_red", Palette::BrightRed},
        {"$velmora_gradient",
         QStringLiteral("qlineargradient(x1:0, y1:0, x2:1, y2:0, stop:0 %1, stop: 0.52 %2, stop:1 %3)")
             .arg(Palette::Burgundy, Palette::GradientMiddle, Palette::GradientEnd)},
        {"$burgundy", Palette::Burgundy},
        {"$dusty_blue", Palette::DustyBlue},
        {"$turquoise", Palette::Turquoise},
        {"$light_blue", Palette::LightBlue},
        {"$black", Palette::Black},
        {"$dark_grey", Palette::DarkGrey},
        {"$grey", Palette::Grey},
        {"$ash", Palette::Ash},
        {"$light_ash", Palette::LightAsh},
        {"$pale_ash", Palette::PaleAsh},
        {"$light_grey", Palette::LightGrey},
        {"$white", Palette::White},
        {"$plain_white", Palette::PlainWhite},
        {"$blue", Palette::Blue},
        {"$gold", Palette::Gold},
        {"$red", Palette::Red},
        {"$green", Palette::Green},
    };
    return variables;
}

const SizeVariables& styleSizeVariables()
{
    static const SizeVariables variables = {
        {"$job_action_icon_size", {20}},    {"$job_label_icon_size", {22}},
        {"$user_menu_icon_size", {28}},     {"$main_window_tabs_widget_list_icon_size", {26, 26}},
        {"$buttons_icon_size", {24}},       {"$buttons_small_icon_size", {20}},
        {"$wizard_button_icon_size", {80}}, {"$delete_button_icon_size", {22}},
    };
    return variables;
}

QString loadStyleSheet(const QString& path, double scale)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    const QString text = QString::fromUtf8(file.readAll());
    TextVariables texts = styleTextVariables();
    for (auto& entry : texts)
        entry.second = scaleLengths(entry.second, scale);
    return processStyleSheet(scaleLengths(text, scale), scale, texts, styleSizeVariables());
}

QString scaleLengths(const QString& text, double scale)
{
    static const QRegularExpression length(QStringLiteral("(?<![\\w$.])(\\d+)px\\b"));
    QString result;
    result.reserve(text.size());
    int done = 0;
    QRegularExpressionMatchIterator it = length.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        result += text.midRef(done, match.capturedStart() - done);
        const double scaled = std::floor(match.captured(1).toLongLong() * scale + 0.5);
        result += QString::number(static_cast<long long>(scaled)) + QStringLiteral("px");
        done = match.capturedEnd();
    }
    result += text.midRef(done);
    return result;
}

QString processStyleSheet(const QString& text, double scale)
{
    return processStyleSheet(text, scale, styleTextVariables(), styleSizeVariables());
}

QString processStyleSheet(const QString& text, double scale, const TextVariables& texts, const SizeVariables& sizes)
{
    QString result = text;
    for (const auto& [name, value] : texts)
        result.replace(name, value, Qt::CaseSensitive);
    for (const auto& [name, numbers] : sizes) {
        QString lengths;
        for (int number : numbers)
            lengths += QString::number(static_cast<long long>(std::floor(number * scale + 0.5))) + "px ";
        result.replace(name, lengths, Qt::CaseSensitive);
    }

    for (const auto& entry : texts)
        if (!entry.first.startsWith('$'))
            qInfo().noquote() << "Var \"" + entry.first + "\" has wrong name";
    for (const auto& entry : sizes)
        if (!entry.first.startsWith('$'))
            qInfo().noquote() << "Var \"" + entry.first + "\" has wrong name";
    for (const auto& textEntry : texts)
        for (const auto& sizeEntry : sizes)
            if (textEntry.first == sizeEntry.first)
                qInfo().noquote() << "Var \"" + textEntry.first + "\" has several descriptions";

    for (int at = result.indexOf('$'); at >= 0; at = result.indexOf('$', at + 1)) {
        const int lineStart = result.lastIndexOf('\n', at) + 1;
        int lineEnd = result.indexOf('\n', at);
        if (lineEnd < 0)
            lineEnd = result.size();
        QString line = result.mid(lineStart, lineEnd - lineStart);
        if (line.endsWith('\r'))
            line.chop(1);
        qInfo().noquote() << "Undefined var " + result.mid(at, 5) + "... in line: " + line;
    }
    return result;
}

} // namespace Corvel
