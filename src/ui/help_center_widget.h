#pragma once

#include <QWidget>

namespace CorvelWidgets {
class IconFont;
}

namespace Corvel {

class ToolBoxTileWidget;

// The Help Center page. Only the analysis tool is offered; the guide and support tiles exist but
// stay hidden.
class HelpCenterWidget : public QWidget {
    Q_OBJECT
public:
    explicit HelpCenterWidget(const CorvelWidgets::IconFont& iconFont, QWidget* parent = nullptr);

    static QString analysisToolPath();

public slots:
    // Starts the tool detached; the outcome only goes to the log.
    void launchAnalysisTool();

signals:
    void installationGuideRequested();
    void helpRequested();

private:
    ToolBoxTileWidget* m_analysisTool;
    ToolBoxTileWidget* m_installationGuide;
    ToolBoxTileWidget* m_requestHelp;
};

} // namespace Corvel
