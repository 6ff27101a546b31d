#include "widgets/cv_credentials_editor.h"

#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/widgets_texts.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace CorvelWidgets {

CvCredentialsEditor::CvCredentialsEditor(const IconFont& iconFont, QWidget* parent)
    : QWidget(parent)
    , m_description(new QLabel)
    , m_login(new QLineEdit)
    , m_password(new QLineEdit)
    , m_check(new QPushButton(WidgetsTexts::Check))
{
    m_description->setObjectName("wizard_page_desription");
    m_password->setEchoMode(QLineEdit::Password);
    m_login->setAccessibleName(WidgetsTexts::ShareUsername);
    m_password->setAccessibleName(WidgetsTexts::SharePassword);
    m_check->setObjectName("button_secondary");
    m_check->setIcon(iconFont.icon(Glyph::Next, IconFont::accent()));
    m_check->setAccessibleName("Check credentials");
    m_check->hide();

    auto* userLabel = new QLabel(WidgetsTexts::ShareUsername);
    userLabel->setObjectName("field_label");
    auto* passwordLabel = new QLabel(WidgetsTexts::SharePassword);
    passwordLabel->setObjectName("field_label");
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_description, 0, 0, 1, 2);
    layout->addWidget(userLabel, 1, 0);
    layout->addWidget(passwordLabel, 1, 1);
    layout->addWidget(m_login, 2, 0);
    layout->addWidget(m_password, 2, 1);
    layout->addWidget(m_check, 3, 1, Qt::AlignRight);

    connect(m_login, &QLineEdit::textChanged, this, &CvCredentialsEditor::loginChanged);
    connect(m_password, &QLineEdit::textChanged, this, &CvCredentialsEditor::passwordChanged);
    connect(m_check, &QPushButton::clicked, this, &CvCredentialsEditor::checkButtonClicked);
}

void CvCredentialsEditor::setDescription(const QString& text)
{
    m_description->setText(text);
}

QString CvCredentialsEditor::login() const
{
    return m_login->text();
}

QString CvCredentialsEditor::password() const
{
    return m_password->text();
}

} // namespace CorvelWidgets
