#pragma once

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace CorvelWidgets {

class IconFont;

// "LOCATION:" with a path field and a "Browse" button that picks a folder.
class CvDirSelector : public QWidget {
    Q_OBJECT
public:
    CvDirSelector(const QString& path, const IconFont& iconFont, bool required, QWidget* parent = nullptr);

    QString path() const;
    void setPath(const QString& path);
    QLabel* label() const { return m_label; }

signals:
    void dirChanged(const QString& path);
    void browseClicked();

private:
    void browse();

    QLabel* m_label;
    QLineEdit* m_edit;
    QPushButton* m_browse;
};

} // namespace CorvelWidgets
