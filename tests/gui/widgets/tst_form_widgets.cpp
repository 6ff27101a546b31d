#include "widgets/cv_dir_selector.h"
#include "widgets/cv_wizard_button.h"
#include "widgets/folder_dialog.h"
#include "widgets/icon_font.h"
#include "widgets/loader_widget.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <QtTest>

using namespace CorvelWidgets;

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

// The wizard's own controls, driven with mouse and keyboard.
class TestFormWidgets : public QObject {
    Q_OBJECT

private:
    IconFont m_iconFont{"velmora-iconfont", {}};

private slots:
    void initTestCase() { initResources(); }

    void wizardButton_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QString>("input"); // click, space, return, enter
        QTest::addColumn<int>("clicks");
        for (const char* input : {"click on the tile", "click on the description", "space", "return", "enter"}) {
            QTest::newRow(qPrintable(QString("enabled, ") + input)) << true << input << 1;
            QTest::newRow(qPrintable(QString("disabled, ") + input)) << false << input << 0;
        }
    }

    void wizardButton()
    {
        QFETCH(bool, enabled);
        QFETCH(QString, input);
        QFETCH(int, clicks);
        QWidget window;
        auto* layout = new QVBoxLayout(&window);
        auto* before = new QPushButton("before");
        auto* tile = new CvWizardButton("Recover Files", "Mount the selected<br/>recovery point", QIcon());
        layout->addWidget(before);
        layout->addWidget(tile);
        tile->setEnabled(enabled);
        window.show();
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QSignalSpy clicked(tile, &CvWizardButton::clicked);
        if (input == "click on the tile") {
            QTest::mouseClick(tile, Qt::LeftButton);
        } else if (input == "click on the description") {
            // Through the window, as a real mouse press reaches the label under the pointer first.
            const QPoint at = tile->descriptionLabel()->mapTo(&window, tile->descriptionLabel()->rect().center());
            QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, at);
        } else {
            before->setFocus();
            QTest::keyClick(before, Qt::Key_Tab);
            QCOMPARE(tile->hasFocus(), enabled);
            const Qt::Key key = input == "space" ? Qt::Key_Space : input == "return" ? Qt::Key_Return : Qt::Key_Enter;
            QTest::keyClick(QApplication::focusWidget(), key);
        }
        QCOMPARE(clicked.size(), clicks);
        QCOMPARE(tile->accessibleName(), QString("Recover Files"));
        QCOMPARE(tile->accessibleDescription(), QString("Mount the selected recovery point"));
    }

    void dirSelector()
    {
        CvDirSelector selector("C:\\", m_iconFont, true);
        QVERIFY(selector.label()->text().contains("*"));
        QVERIFY(selector.label()->text().endsWith("LOCATION:"));
        QSignalSpy changed(&selector, &CvDirSelector::dirChanged);
        selector.lineEdit()->clear();
        QTest::keyClicks(selector.lineEdit(), "D:");
        QCOMPARE(changed.size(), 3); // the clearing, then one per key
        FolderDialog::setNextAnswer("/srv/cache");
        selector.browseButton()->click();
        QCOMPARE(selector.path(), QString("/srv/cache"));
        FolderDialog::setNextAnswer(QString()); // cancelled
        selector.browseButton()->click();
        QCOMPARE(selector.path(), QString("/srv/cache"));
        QCOMPARE(FolderDialog::askedCaptions(), (QStringList{"Open Directory", "Open Directory"}));
        QCOMPARE(changed.last().first().toString(), QString("/srv/cache"));
    }

    void loader()
    {
        LoaderWidget loader;
        loader.showLoader("Loading clients");
        QVERIFY(loader.isVisible() && loader.isRunning());
        QCOMPARE(loader.description(), QString("Loading clients"));
        loader.hideLoader();
        QVERIFY(!loader.isVisible() && !loader.isRunning());
    }
};

QTEST_MAIN(TestFormWidgets)
#include "tst_form_widgets.moc"
