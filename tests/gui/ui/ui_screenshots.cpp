// Renders the main window, its pages and its dialogs to PNG files for a visual review:
//   ui_screenshots [output folder]   (default /tmp/corvel-ui-shots)
#include "fake_corvel_service.h"
#include "test_tokens.h"

#include "app/style_sheet.h"
#include "auth/auth_session.h"
#include "ui/main_window.h"
#include "ui/main_window_geometry.h"
#include "ui/main_window_tabs_widget.h"
#include "widgets/custom_bar_window.h"
#include "widgets/icon_font.h"
#include "widgets/message_box.h"
#include "widgets/user_menu_button.h"

#include <QApplication>
#include <QDir>
#include <QFontDatabase>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QTimer>

#include <cstdio>

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace {

QString g_folder;

void save(QWidget& widget, const QString& name)
{
    const QString path = g_folder + "/" + name + ".png";
    // Translucent windows grab onto transparency; put them on a desktop-like backdrop.
    const QPixmap shot = widget.grab();
    QPixmap canvas(shot.size() + QSize(40, 40));
    canvas.fill(QColor("#5b6470"));
    QPainter painter(&canvas);
    painter.drawPixmap(20, 20, shot);
    painter.end();
    canvas.save(path);
    std::printf("%s\n", qPrintable(path));
}

// The same box MessageBox::ask would show, left open long enough to photograph.
void saveBox(QWidget* parent, const CorvelWidgets::MessageBox::Request& request, const QString& name)
{
    QMessageBox box(parent);
    box.setIcon(request.icon);
    box.setWindowTitle(request.title);
    box.setText(request.text);
    box.setInformativeText(request.informativeText);
    box.setStandardButtons(request.buttons);
    if (request.defaultButton != QMessageBox::NoButton)
        box.setDefaultButton(request.defaultButton);
    box.setWindowFlags(box.windowFlags() | Qt::Tool | Qt::CustomizeWindowHint);
    box.show();
    QApplication::processEvents();
    save(box, name);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    initResources();
    g_folder = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/tmp/corvel-ui-shots");
    QDir().mkpath(g_folder);

    for (const char* font : {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf",
                             ":/res/SourceSansPro-Light.ttf"})
        QFontDatabase::addApplicationFont(QString::fromLatin1(font));
    app.setStyleSheet(Corvel::loadStyleSheet(":/res/styles.qss"));
    const CorvelWidgets::IconFont iconFont =
        CorvelWidgets::IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json", "velmora-iconfont")
            .value_or(CorvelWidgets::IconFont("velmora-iconfont", {}));

    auto service = std::make_shared<FakeCorvelService>();
    using namespace CorvelService;
    service->jobs = {
        FakeCorvelService::job("1", JobType::FileRecovery, JobStatus::Running, "FS-ACCOUNTS-01", "Volumes mounted", 100),
        FakeCorvelService::job("2", JobType::VirtualExport, JobStatus::Running, "SQL-LEDGER", "Exporting disk 1 of 2", 42),
        FakeCorvelService::job("3", JobType::Virtualization, JobStatus::Stopped, "DC-NORTH", "Stopped by operator", 0),
    };

    const QJsonObject config{{"update_url", "http://127.0.0.1:1/Corvel_setup.exe"}};
    TmxAuth::AuthSession session(
        tokenWithData({{"reseller_id", 7}, {"username", "pat"}, {"user_display_name", "Pat Partner"}}), config);

    CorvelWidgets::MessageBox::setAutoAnswer(true);
    Corvel::MainWindow window(session, iconFont, service, config);
    window.setUpdateOfferBlocked(true);
    window.showNormal();
    Corvel::sizeAndCentreMainWindow(window);
    window.resize(window.width(), 720);

    QEventLoop wait;
    QTimer::singleShot(1200, &wait, &QEventLoop::quit);
    wait.exec();

    save(window, "main_home");
    window.tabs()->list()->setCurrentRow(1);
    QApplication::processEvents();
    save(window, "main_toolbox");
    window.tabs()->list()->setCurrentRow(2);
    QApplication::processEvents();
    save(window, "main_help_center");
    window.tabs()->list()->setCurrentRow(0);

    QMenu* menu = window.userMenuButton()->userMenu();
    menu->popup(window.userMenuButton()->mapToGlobal(QPoint(0, window.userMenuButton()->height())));
    QApplication::processEvents();
    save(*menu, "user_menu");
    menu->hide();

    Corvel::CustomBarWindow dialog(iconFont, &window);
    dialog.setTitle("Recovery Type");
    auto* body = new QLabel("The dialog's content goes here.");
    body->setMinimumSize(420, 160);
    body->setAlignment(Qt::AlignCenter);
    dialog.contentLayout()->addWidget(body);
    dialog.show();
    QApplication::processEvents();
    save(dialog, "custom_bar_window");
    dialog.hide();

    using Request = CorvelWidgets::MessageBox::Request;
    const QString interrupted = "<font color=red><b>All active recovery jobs will be interrupted.</b></font>";
    Request offer{QMessageBox::Information, "Corvel", "The new version of Corvel 1.7.1.12 is available",
                  "<p>Do you want to download and install it?<br>Corvel will be automatically closed for update<br>" +
                      interrupted + "</p>",
                  QMessageBox::Yes | QMessageBox::No, QMessageBox::No, {}, true};
    saveBox(&window, offer, "dialog_offer");
    Request ready{QMessageBox::Information, "Corvel", "The Updater is downloaded and ready",
                  "<p>It will close and automatically restart the Corvel in order to process the installation<br>" +
                      interrupted + "<br>Continue?</p>",
                  QMessageBox::Yes | QMessageBox::No, QMessageBox::No, {}, true};
    saveBox(&window, ready, "dialog_ready");
    Request failed{QMessageBox::Warning, "Corvel", "Download failed",
                   "Error: Cannot get reply from the server\n\nUpdate will be downloaded on the next application launch",
                   QMessageBox::Ok, QMessageBox::NoButton, {}, true};
    saveBox(&window, failed, "dialog_download_failed");
    Request closing{QMessageBox::Information, "Corvel", "Update downloading in process", "Do you want to cancel it?",
                    QMessageBox::Yes | QMessageBox::No, QMessageBox::No, {}, true};
    saveBox(&window, closing, "dialog_closing");
    Request admin{QMessageBox::Critical, "Access Error", "Velmora Admin user is not allowed to start new recovery", {},
                  QMessageBox::Ok, QMessageBox::NoButton, {}, true};
    saveBox(&window, admin, "dialog_access_admin");
    Request logout{QMessageBox::Warning, "Corvel",
                   "Failed to login. Corvel will be closed. Please run Corvel and try again.", {}, QMessageBox::Ok,
                   QMessageBox::NoButton, {}, true};
    saveBox(&window, logout, "dialog_logout_failed");
    return 0;
}
