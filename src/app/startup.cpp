#include "app/startup.h"

#include "app/app_texts.h"
#include "app/service_starter.h"
#include "auth/login_window.h"
#include "auth/sign_in_flows.h"
#include "core/cv_logger.h"
#include "core/settings.h"
#include "core/style_sheet.h"
#include "journal/journal.h"
#include "platform/platform.h"
#include "service/service_client.h"
#include "service/service_connection.h"
#include "service/service_types_meta.h"
#include "session/auth_session.h"
#include "ui/main_window.h"
#include "ui/main_window_geometry.h"
#include "widgets/icon_font.h"
#include "widgets/message_box.h"
#include "widgets/screen_scale.h"

#include <QApplication>
#include <QDebug>
#include <QFontDatabase>

#include <cstdio>
#include <optional>

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace Corvel {

namespace {

constexpr int ExitFailure = -1;
constexpr int ExitQuiet = 0;

void fatalBox(const QString& title, const QString& text)
{
    CorvelWidgets::MessageBox::critical(nullptr, title, text);
}

} // namespace

int runConsole(int argc, char** argv)
{
    const QString working = workingDir();
    if (!CvLogger::init(QtInfoMsg, working + "/logs", QStringLiteral("corvel.log"), 10485760)) {
        std::fputs(AppTexts::LoggingFailed, stderr);
        return ExitFailure;
    }
    qInfo() << AppTexts::LoggingInitialized;

    const std::optional<Settings> settings = loadSettings(working + "/config.json");
    if (!settings) {
        qCritical() << AppTexts::ConfigFailedLog;
        CorvelPlatform::showNativeErrorBox(AppTexts::CorvelError, AppTexts::ConfigFailed);
        return ExitFailure;
    }

    TmxAuth::prepareWebEngine();
    QCoreApplication::setAttribute(Qt::AA_UseSoftwareOpenGL, settings->useSoftwareOpengl());
    // Icons and pictures are drawn for the screen's pixel density (sharp at 150 % and 200 %).
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication app(argc, argv);
    initResources();
    // Unattended runs (scripted checks) must not block on a modal question.
    if (qEnvironmentVariableIsSet("CORVEL_UNATTENDED"))
        CorvelWidgets::MessageBox::setAutoAnswer(true);

    if (!CorvelPlatform::isUserAdmin()) {
        qCritical() << AppTexts::NotAdminLog;
        fatalBox(QString(AppTexts::AccessDenied), QString(AppTexts::NotAdmin));
        return ExitQuiet;
    }

    for (const char* font :
         {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf", ":/res/SourceSansPro-Light.ttf"})
        QFontDatabase::addApplicationFont(QString::fromLatin1(font));
    // The bundled files carry their distributor's family name; the sheet and the code ask for the
    // plain one.
    QFont::insertSubstitution(QStringLiteral("Source Sans Pro"), QStringLiteral("TypoPRO Source Sans Pro"));
    QFont font = QApplication::font();
    font.setFamily(QStringLiteral("Source Sans Pro"));
    QApplication::setFont(font);

    app.setStyleSheet(loadStyleSheet(QStringLiteral(":/res/styles.qss"), CorvelWidgets::screenScale()));

    const std::optional<CorvelWidgets::IconFont> iconFont = CorvelWidgets::IconFont::load(
        QStringLiteral(":/res/velmora-iconfont.ttf"), QStringLiteral(":/res/velmora-iconfont.json"),
        QStringLiteral("velmora-iconfont"));
    if (!iconFont) {
        qCritical() << AppTexts::IconFontFailedLog;
        CorvelWidgets::MessageBox::Request request;
        request.icon = QMessageBox::Critical;
        request.text = QString(AppTexts::IconFontFailed);
        request.titleSet = false;
        CorvelWidgets::MessageBox::ask(nullptr, request);
        return ExitQuiet;
    }

    if (!settings->disableServicesAutostart()) {
        ServiceStarter starter;
        if (!starter.startServices()) {
            qCritical() << AppTexts::ServicesFailedLog;
            fatalBox(QString(AppTexts::ServicesError), QString(AppTexts::ServicesFailed));
            return ExitFailure;
        }
    }

    CorvelService::registerServiceMetaTypes();
    CorvelService::ServiceConnection connection(
        CorvelService::ServiceConnection::serviceFactory(workingDir().toStdString(), settings->servicePort()));
    if (!connection.connectNow()) {
        qCritical() << AppTexts::NoClientLog;
        fatalBox(QString(AppTexts::CorvelError), QString(AppTexts::NoClient));
        return ExitFailure;
    }

    TmxAuth::AuthSession session;
    switch (TmxAuth::signInAtStart(session, settings->authUrl())) {
    case TmxAuth::StartSignIn::SignedIn:
        break;
    case TmxAuth::StartSignIn::NoToken:
    case TmxAuth::StartSignIn::InvalidToken:
        return ExitQuiet;
    }

    CorvelJournal::Journal journal(working + QStringLiteral("/journal.sqlite"));
    qInfo() << AppTexts::CreatingMainWindow;
    MainWindow window(session, *iconFont, connection, *settings);
    window.setJournal(&journal);
    window.showNormal();
    sizeAndCentreMainWindow(window);
    return app.exec();
}

} // namespace Corvel
