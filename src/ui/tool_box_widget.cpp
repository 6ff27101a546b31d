#include "ui/tool_box_widget.h"

#include "build_config.h"
#include "ui/tool_box_tile_widget.h"
#include "ui/ui_texts.h"
#include "widgets/glyph.h"
#include "widgets/icon_font.h"

#include <QDebug>
#include <QGridLayout>

namespace Corvel {

ToolBoxWidget::ToolBoxWidget(const CorvelWidgets::IconFont& iconFont, QWidget* parent)
    : QWidget(parent)
    , m_directRestore(new ToolBoxTileWidget(iconFont.icon(CorvelWidgets::Glyph::Download, {{"color", "grey"}}),
                                            UiTexts::DirectRestore, UiTexts::DirectRestoreDescription,
                                            UiTexts::DownloadButton, this))
{
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(20, 20, 20, 20);
    layout->addWidget(m_directRestore, 0, 0);
    layout->setColumnStretch(1, 1);
    layout->setRowStretch(1, 1);

    connect(m_directRestore, &ToolBoxTileWidget::clicked, this, [this] {
        qInfo() << UiTexts::OpeningDirectRestore;
        emit openUrlRequested(QStringLiteral(CORVEL_DIRECT_RESTORE_URL));
    });
}

} // namespace Corvel
