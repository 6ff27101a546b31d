#include "widgets/cv_dir_selector.h"

#include "core/palette.h"
#include "widgets/folder_dialog.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"
#include "widgets/widgets_texts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace CorvelWidgets {

namespace {
}

CvDirSelector::CvDirSelector(const QString& path, const IconFont& iconFont, bool required, QWidget* parent)
    : QWidget(parent)
    , m_label(new QLabel)
    , m_edit(new QLineEdit(path))
    , m_browse(new QPushButton(WidgetsTexts::Browse))
{
    m_label->setObjectName("field_label");
    m_label->setTextFormat(Qt::RichText);
    m_label->setText(required ? QStringLiteral("<font color=\"%1\">*</font>LOCATION:").arg(Corvel::Palette::Primary)
                              : QString(WidgetsTexts::Location));
    m_edit->setAccessibleName(WidgetsTexts::Location);
    m_browse->setObjectName("button_secondary");
    m_browse->setIcon(iconFont.icon(Glyph::Folder, IconFont::accent()));
    m_browse->setAccessibleName(WidgetsTexts::Browse);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_edit, 1);
    row->addWidget(m_browse);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_label);
    layout->addLayout(row);

    connect(m_edit, &QLineEdit::textChanged, this, &CvDirSelector::dirChanged);
    connect(m_browse, &QPushButton::clicked, this, &CvDirSelector::browseClicked);
    connect(m_browse, &QPushButton::clicked, this, &CvDirSelector::browse);
}

QString CvDirSelector::path() const
{
    return m_edit->text();
}

void CvDirSelector::setPath(const QString& path)
{
    m_edit->setText(path);
}

void CvDirSelector::browse()
{
    const QString chosen = FolderDialog::getExistingDirectory(this, "Open Directory", m_edit->text());
    if (!chosen.isEmpty())
        m_edit->setText(chosen);
}

} // namespace CorvelWidgets
