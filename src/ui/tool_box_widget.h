#pragma once

#include <QWidget>

namespace CorvelWidgets {
class IconFont;
}

namespace Corvel {

class ToolBoxTileWidget;

// The Toolbox page: download links for the separate restore tools.
class ToolBoxWidget : public QWidget {
    Q_OBJECT
public:
    explicit ToolBoxWidget(const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    ToolBoxTileWidget* directRestoreTile() const { return m_directRestore; }

signals:
    void openUrlRequested(const QString& url);

private:
    ToolBoxTileWidget* m_directRestore;
};

} // namespace Corvel
