#pragma once

#include <QFont>
#include <QHash>
#include <QIcon>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace CorvelWidgets {

// The icon font and its table of named glyphs; widgets draw icons from it by name.
//
// Icon options: "color" (normal), "color-active" (hover/active and, unless set, selected),
// "color-selected", "color-disabled", "scale" (glyph height over icon height, default 0.9) and
// "scale-selected" (the same for the selected state).
class IconFont {
public:
    IconFont(QString family, QHash<QString, ushort> icons);

    // Registers the font resource and checks its family; reads the icon table beside it.
    static std::optional<IconFont> load(const QString& fontResource, const QString& tableResource,
                                        const QString& requiredFamily);

    const QString& family() const { return m_family; }
    const QHash<QString, ushort>& icons() const { return m_icons; }
    ushort codePoint(const QString& name) const { return m_icons.value(name, 0); }

    QFont font(int pixelSize) const;
    // A glyph by its name in the font's own table (tools/iconfont/mapping.tsv); an empty glyph
    // for a name the table does not hold.
    QIcon icon(const QString& name, const QVariantMap& options = {}) const;

    // The accent colours most glyphs are drawn in.
    static QVariantMap accent();

private:
    QString m_family;
    QHash<QString, ushort> m_icons;
};

} // namespace CorvelWidgets
