#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace CorvelWidgets {

class IconFont;

// User name and password of a network share, with a button to check them.
class CvCredentialsEditor : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString password READ password NOTIFY passwordChanged)
public:
    explicit CvCredentialsEditor(const IconFont& iconFont, QWidget* parent = nullptr);

    void setDescription(const QString& text);
    QString login() const;
    QString password() const;
    QLineEdit* loginEdit() const { return m_login; }
    QLineEdit* passwordEdit() const { return m_password; }
    QPushButton* checkButton() const { return m_check; }

signals:
    void loginChanged(const QString& login);
    void passwordChanged(const QString& password);
    void checkButtonClicked();

private:
    QLabel* m_description;
    QLineEdit* m_login;
    QLineEdit* m_password;
    QPushButton* m_check;
};

} // namespace CorvelWidgets
