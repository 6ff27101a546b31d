#pragma once

#include <QWidget>

class QLabel;
class QMovie;

namespace CorvelWidgets {

// The animated "working" sign with a word on what is being waited for.
class LoaderWidget : public QWidget {
    Q_OBJECT
public:
    explicit LoaderWidget(QWidget* parent = nullptr);

    QString description() const;
    bool isRunning() const;

public slots:
    void showLoader(const QString& description);
    void hideLoader();

private:
    QMovie* m_movie;
    QLabel* m_animation;
    QLabel* m_description;
};

} // namespace CorvelWidgets
