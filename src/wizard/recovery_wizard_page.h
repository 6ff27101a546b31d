#pragma once

#include "wizard/wizard_page.h"

#include <QFrame>
#include <QList>
#include <QString>

#include <functional>

class QAbstractButton;
class QPushButton;
class QVBoxLayout;

namespace CorvelWidgets {
class CvWizardButton;
class IconFont;
} // namespace CorvelWidgets

namespace Corvel {

// Base of the wizard's pages: a title for the wizard's title bar, the navigation signals the
// wizard listens to, and the layout every page fills.
class RecoveryWizardPage : public QFrame {
    Q_OBJECT
public:
    RecoveryWizardPage(const CorvelWidgets::IconFont& iconFont, const QString& title, QWidget* parent = nullptr);

    QString title() const { return m_title; }

    // Called by the wizard each time the page becomes current.
    virtual void onPageShown();
    // Gives the focus to the first input that takes it, else to the page's primary button.
    void focusFirstInput();

    // In a scroll area the page asks for its content's width and as much height as the screen
    // gives, rather than the scroll area's token size.
    QSize sizeHint() const override;

    // Test seam: the primary screen's height as finishLayout sees it (0: the real one).
    static void setScreenHeightOverride(int height);

signals:
    void nextPageRequested(Corvel::WizardPage page);
    void previousPageRequested();
    void completeWizard();
    void closeWizard();

protected:
    const CorvelWidgets::IconFont& iconFont() const { return m_iconFont; }
    QVBoxLayout* contentLayout() const { return m_contentLayout; }

    void connectNext(QAbstractButton* button, WizardPage page);
    void connectBack(QAbstractButton* button);
    // Choosing the tile stores its value first, then asks for `page`.
    void connectTile(CorvelWidgets::CvWizardButton* tile, std::function<void()> store, WizardPage page);
    // The layout of a page of tiles: the header, the tiles in `columns` columns (compact tiles when
    // more than one), and `button` at the foot.
    void layoutTiles(const QString& header, const QList<CorvelWidgets::CvWizardButton*>& tiles, QPushButton* button,
                     int columns = 1);

    // Installs the content layout: inside a scroll area on low screens, directly otherwise.
    void finishLayout(bool disableHorizontalScroll);

private:
    const CorvelWidgets::IconFont& m_iconFont;
    QString m_title;
    QVBoxLayout* m_contentLayout;
    QVBoxLayout* m_outerLayout;
    QWidget* m_scrolledContent = nullptr;
    int m_screenHeight = 0;
};

} // namespace Corvel
