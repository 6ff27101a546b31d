#include "testsupport/console_look.h"

#include "core/style_sheet.h"
#include "widgets/screen_scale.h"

#include <QApplication>
#include <QFont>
#include <QFontDatabase>

static void initResources()
{
    Q_INIT_RESOURCE(resources);
}

namespace CorvelTest {

CorvelWidgets::IconFont applyConsoleLook()
{
    initResources();
    for (const char* font :
         {":/res/SourceSansPro-Regular.ttf", ":/res/SourceSansPro-Bold.ttf", ":/res/SourceSansPro-Light.ttf"})
        QFontDatabase::addApplicationFont(font);
    QFont::insertSubstitution(QStringLiteral("Source Sans Pro"), QStringLiteral("TypoPRO Source Sans Pro"));
    QFont font = QApplication::font();
    font.setFamily(QStringLiteral("Source Sans Pro"));
    QApplication::setFont(font);
    qApp->setStyleSheet(Corvel::loadStyleSheet(QStringLiteral(":/res/styles.qss"), CorvelWidgets::screenScale()));
    if (auto loaded = CorvelWidgets::IconFont::load(":/res/velmora-iconfont.ttf", ":/res/velmora-iconfont.json",
                                                    "velmora-iconfont"))
        return *loaded;
    return CorvelWidgets::IconFont("velmora-iconfont", {});
}

} // namespace CorvelTest
