#include "widgets/icon_font.h"

#include "core/palette.h"

#include <QFile>
#include <QFontDatabase>
#include <QIconEngine>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>

namespace CorvelWidgets {

namespace {

class GlyphIconEngine : public QIconEngine {
public:
    GlyphIconEngine(QString family, ushort codePoint, QVariantMap options)
        : m_family(std::move(family))
        , m_codePoint(codePoint)
        , m_options(std::move(options))
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const double scale = option(mode == QIcon::Selected ? "scale-selected" : "scale", "scale", 0.9).toDouble();
        QFont font(m_family);
        font.setPixelSize(qMax(1, qRound(rect.height() * scale)));
        painter->save();
        painter->setFont(font);
        painter->setPen(color(mode));
        painter->drawText(rect, Qt::AlignCenter, QString(QChar(m_codePoint)));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new GlyphIconEngine(m_family, m_codePoint, m_options); }

private:
    QVariant option(const QString& key, const QString& fallbackKey, const QVariant& fallback) const
    {
        if (m_options.contains(key))
            return m_options.value(key);
        return m_options.value(fallbackKey, fallback);
    }

    QColor color(QIcon::Mode mode) const
    {
        switch (mode) {
        case QIcon::Active:
            return QColor(option("color-active", "color", Corvel::Palette::Primary).toString());
        case QIcon::Selected:
            return QColor(option("color-selected", "color-active", Corvel::Palette::Primary).toString());
        case QIcon::Disabled:
            return QColor(option("color-disabled", "color-disabled", Corvel::Palette::Ash).toString());
        case QIcon::Normal:
            break;
        }
        return QColor(option("color", "color", Corvel::Palette::Grey).toString());
    }

    QString m_family;
    ushort m_codePoint;
    QVariantMap m_options;
};

} // namespace

IconFont::IconFont(QString family, QHash<QString, ushort> icons)
    : m_family(std::move(family))
    , m_icons(std::move(icons))
{
}

std::optional<IconFont> IconFont::load(const QString& fontResource, const QString& tableResource,
                                       const QString& requiredFamily)
{
    const int id = QFontDatabase::addApplicationFont(fontResource);
    if (id < 0 || !QFontDatabase::applicationFontFamilies(id).contains(requiredFamily, Qt::CaseSensitive))
        return std::nullopt;
    QHash<QString, ushort> icons;
    QFile table(tableResource);
    if (table.open(QIODevice::ReadOnly)) {
        const QJsonObject object = QJsonDocument::fromJson(table.readAll()).object().value("icons").toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            icons.insert(it.key(), static_cast<ushort>(it.value().toString().toUInt(nullptr, 16)));
    }
    return IconFont(requiredFamily, std::move(icons));
}

QFont IconFont::font(int pixelSize) const
{
    QFont font(m_family);
    font.setPixelSize(pixelSize);
    return font;
}

QIcon IconFont::icon(const QString& name, const QVariantMap& options) const
{
    return QIcon(new GlyphIconEngine(m_family, codePoint(name), options));
}

QVariantMap IconFont::accent()
{
    return {{"color", Corvel::Palette::Primary}, {"color-active", Corvel::Palette::DarkenPrimary}};
}

} // namespace CorvelWidgets
