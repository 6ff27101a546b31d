#include "widgets/user_menu_button.h"

#include "widgets/dialog_style.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/widgets_texts.h"

#include <QMenu>

namespace CorvelWidgets {

UserMenuButton::UserMenuButton(const IconFont& iconFont, QWidget* parent)
    : QPushButton(parent)
    , m_menu(new QMenu(this))
{
    setObjectName("button_user_menu");
    setIcon(iconFont.icon(Glyph::User));
    setFocusPolicy(Qt::TabFocus);
    setAutoDefault(false);
    setAccessibleName(QStringLiteral("User menu"));
    setCursor(Qt::PointingHandCursor);

    m_menu->setObjectName("user_menu");
    m_menu->setWindowFlags(m_menu->windowFlags() | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    DialogStyle::useTranslucentEdges(*m_menu);
    QAction* logOut = m_menu->addAction(WidgetsTexts::LogOut);
    connect(logOut, &QAction::triggered, this, &UserMenuButton::logOutRequested);
    setMenu(m_menu);
}

void UserMenuButton::setUserName(const QString& name)
{
    setText(name);
    setToolTip(name.isEmpty() ? QStringLiteral("User menu") : QStringLiteral("Signed in as ") + name);
    setAccessibleDescription(toolTip());
}

QAction* UserMenuButton::logOutAction() const
{
    const QList<QAction*> actions = m_menu->actions();
    return actions.isEmpty() ? nullptr : actions.first();
}

} // namespace CorvelWidgets
