#include "ui/tool_box_tile_widget.h"
#include "widgets/screen_scale.h"

#include "core/style_sheet.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace Corvel {

namespace {
constexpr int IconSide = 64;
}

ToolBoxTileWidget::ToolBoxTileWidget(const QIcon& icon, const QString& caption, const QString& description,
                                     const QString& buttonText, QWidget* parent)
    : QFrame(parent)
    , m_icon(new QLabel(this))
    , m_caption(new QLabel(caption, this))
    , m_description(new QLabel(description, this))
    , m_button(new QPushButton(buttonText, this))
{
    setObjectName("toolbox_tile");
    m_icon->setObjectName("toolbox_tile_icon");
    m_caption->setObjectName("toolbox_tile_caption");
    m_description->setObjectName("toolbox_tile_description");
    m_button->setObjectName("toolbox_tile_label");

    const int side = qRound(IconSide * CorvelWidgets::screenScale());
    m_icon->setPixmap(icon.pixmap(side, side));
    m_icon->setAccessibleName(caption);
    setAccessibleName(caption);
    setAccessibleDescription(description);
    m_icon->setAlignment(Qt::AlignCenter);
    m_caption->setAlignment(Qt::AlignCenter);
    m_description->setAlignment(Qt::AlignCenter);
    m_description->setWordWrap(true);
    m_button->setCursor(Qt::PointingHandCursor);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_icon);
    layout->addWidget(m_caption);
    layout->addWidget(m_description);
    layout->addStretch();
    layout->addWidget(m_button, 0, Qt::AlignHCenter);

    connect(m_button, &QPushButton::clicked, this, &ToolBoxTileWidget::clicked);
}

} // namespace Corvel
