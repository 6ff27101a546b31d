#pragma once

#include <QList>
#include <QMap>
#include <QMessageBox>
#include <QString>

namespace CorvelWidgets {

// Every modal question of the console goes through here, so tests can answer them beforehand.
class MessageBox {
public:
    struct Request {
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QString title;
        QString text;
        QString informativeText;
        QMessageBox::StandardButtons buttons = QMessageBox::Ok;
        QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
        // Texts of buttons that do not mean what their standard label says.
        QMap<QMessageBox::StandardButton, QString> buttonTexts;
        Qt::WindowFlags flags;
        bool titleSet = true;
    };

    static QMessageBox::StandardButton ask(QWidget* parent, const Request& request);

    static QMessageBox::StandardButton critical(QWidget* parent, const QString& title, const QString& text);
    static QMessageBox::StandardButton warning(QWidget* parent, const QString& title, const QString& text);
    static QMessageBox::StandardButton information(QWidget* parent, const QString& title, const QString& text);

    // Test seam: while answers are queued (or auto-answer is on) no box is shown; each request
    // is recorded and answered from the queue, else with its default (or first) button.
    static void setNextAnswer(QMessageBox::StandardButton answer);
    static void setAutoAnswer(bool enabled);
    static QList<Request> shown();
    static void clearShown();
};

} // namespace CorvelWidgets
